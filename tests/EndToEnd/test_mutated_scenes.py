"""Damaged, cut and forged scenes: each is a plain French failure or a whole result, and nothing is left behind."""
import base64
import json
import subprocess
import unittest
import zipfile

from mutations import MutationCase
from scene_files import read_scene
from test_scenes import BOX, PICTURE

TARGETS = ("stl", "ply", "obj", "glb", "gltf", "usdz", "usd")
MODEL = """<model unit="inch"><resources><basematerials id="5"><base name="red" displaycolor="#FF0000"/></basematerials>
<object id="1" pid="5" pindex="0"><mesh><vertices><vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/>
<vertex x="0" y="1" z="0"/></vertices><triangles><triangle v1="0" v2="1" v3="2"/></triangles></mesh></object>
</resources><build><item objectid="1"/></build></model>"""


def is_whole(path):
    if path.suffix == ".usdz":
        return zipfile.ZipFile(path).testzip() is None
    if path.suffix == ".usd":
        text = path.read_text()
        return text.startswith("#usda 1.0\n") and text.count("{\n") == text.count("}\n")
    try:
        read_scene(path)
    except FileNotFoundError:
        pass  # what its JSON names beside it was never there
    return True


class Mutants(MutationCase):
    def unopened(self, shown):
        failed = []
        for name, path in shown.items():
            try:
                if not is_whole(path):
                    failed.append(name)
            except Exception as error:  # any fault of a result is the finding
                failed.append(f"{name}: {error!r}")
        return failed

    def test_mutants_fail_plainly_or_convert_whole(self):
        offered = self.targets_of("native-3d")
        self.write("box.obj", BOX.replace("mtllib", "#"))
        self.write("wood.png", PICTURE)
        for target in ("stl", "ply", "glb", "gltf"):
            self.run_nivex("convert", "box.obj", "--to", target)
        root = json.loads((self.folder / "box.gltf").read_text())
        for each in root["buffers"]:  # a mutant stands alone
            each["uri"] = "data:;base64," + base64.b64encode((self.folder / each["uri"]).read_bytes()).decode()
        (self.folder / "box.gltf").write_text(json.dumps(root))
        for source, kind in (("fbx", "fbxa"), ("dae", "collada")):
            subprocess.run(["assimp", "export", "box.obj", f"box.{source}", f"-f{kind}"], cwd=self.folder, check=True,
                           capture_output=True, timeout=60)
        with zipfile.ZipFile(self.folder / "box.3mf", "w") as package:
            package.writestr("3D/3dmodel.model", MODEL)
        seeds = {of: [(f"box.{of}", (self.folder / f"box.{of}").read_bytes())]
                 for of in ("obj", "stl", "ply", "glb", "gltf", "fbx", "dae", "3mf")}
        self.convert_mutants(seeds, {of: [each for each in TARGETS if each in offered[of]] for of in seeds}, self.unopened)


if __name__ == "__main__":
    unittest.main()
