"""Three-dimensional scenes, judged by readers that share nothing with the program and by assimp."""
import itertools
import json
import re
import struct
import subprocess
import unittest
import zipfile

from nivex_case import NivexCase
from scene_files import read_scene

PICTURE = bytes.fromhex("89504e470d0a1a0a0000000d49484452000000010000000108060000001f15c4890000000d49444154789c6360f8"
                        "cf500f00038601804d3b7d3d0000000049454e44ae426082")

# A box of 1 by 2 by 3 in two objects, of quads, with a texture.
BOX = """mtllib box.mtl
v 0 0 0
v 1 0 0
v 1 2 0
v 0 2 0
v 0 0 3
v 1 0 3
v 1 2 3
v 0 2 3
vt 0 0
vt 1 0
vt 1 1
vt 0 1
o ends
usemtl plain
f 1/1 4/2 3/3 2/4
f 5/1 6/2 7/3 8/4
o sides
usemtl wood
f 1/1 2/2 6/3 5/4
f 2/1 3/2 7/3 6/4
f 3/1 4/2 8/3 7/4
f 4/1 1/2 5/3 8/4
"""
TARGETS = ("stl", "ply", "obj", "glb", "gltf")


class Scenes(NivexCase):
    def setUp(self):
        super().setUp()
        self.write("box.obj", BOX)
        self.write("box.mtl", "newmtl plain\nKd 1 0 0\nnewmtl wood\nmap_Kd wood.png\n")
        self.write("wood.png", PICTURE)

    def convert(self, name, target):
        line, = self.json_lines("convert", name, "--to", target)
        return line, self.folder / line["outputs"][0]

    def test_every_format_holds_the_same_box(self):
        sources = {"obj": "box.obj"}
        for target in TARGETS[:2] + TARGETS[3:]:
            sources[target] = str(self.convert("box.obj", target)[1].relative_to(self.folder))
        for source, target in itertools.permutations(TARGETS, 2):
            with self.subTest(source=source, target=target):
                _, output = self.convert(sources[source], target)
                shape = read_scene(output)
                self.assertEqual(shape.box, [(0, 1), (0, 2), (0, 3)])
                self.assertEqual(shape.volume, 6)
                holds = {source, target} <= {"obj", "glb", "gltf"}
                self.assertEqual(shape.materials, 2 if holds else 0)
                self.assertEqual(shape.pictures, [PICTURE] if holds else [])
                if source == "obj":
                    self.assertEqual({len(face) for face in shape.faces}, {4 if target == "ply" else 3})
                told = subprocess.run(["assimp", "info", str(output)], capture_output=True, text=True, timeout=60)
                self.assertEqual(told.returncode, 0, told.stdout)
                self.assertEqual(re.findall(r"(?:Minimum|Maximum) point\s+\((\S+) (\S+) (\S+)\)", told.stdout),
                                 [("0.000000", "0.000000", "0.000000"), ("1.000000", "2.000000", "3.000000")])

    def test_packages_are_archives_whose_entries_can_be_used_where_they_lie(self):
        _, package = self.convert("box.obj", "usdz")
        with zipfile.ZipFile(package) as archive:
            self.assertEqual(archive.namelist(), ["scene.usda", "textures/wood.png"])
            self.assertEqual(archive.read("textures/wood.png"), PICTURE)
            self.assertIsNone(archive.testzip())
            data = package.read_bytes()
            for entry in archive.infolist():
                name, extra = struct.unpack_from("<HH", data, entry.header_offset + 26)
                self.assertEqual((entry.header_offset + 30 + name + extra) % 64, 0)
        line, _ = self.convert("box.obj", "usd")
        self.assertEqual(len(line["outputs"]), 2)

    def test_what_another_program_writes_is_read(self):
        for source, kind in (("fbx", "fbxa"), ("dae", "collada")):
            with self.subTest(source=source):
                subprocess.run(["assimp", "export", "box.obj", f"made.{source}", f"-f{kind}"], cwd=self.folder, check=True,
                               capture_output=True, timeout=60)
                line, output = self.convert(f"made.{source}", "stl")
                shape = read_scene(output)
                self.assertEqual((shape.box, shape.volume), ([(0, 1), (0, 2), (0, 3)], 6))
                self.assertEqual(line["warnings"], ["Les matériaux et les textures ne seront pas conservés."])
                _, output = self.convert(f"made.{source}", "obj")
                self.assertEqual(read_scene(output).pictures, [PICTURE])

    def test_losses_are_those_of_this_file(self):
        self.write("bare.obj", BOX.replace("usemtl", "#").replace("mtllib", "#"))
        for name, expected in (("box.obj", ["materials"]), ("bare.obj", [])):
            with self.subTest(name=name):
                plan, = [each for each in self.json_lines("plans", name)[0]["plans"] if each["target"] == "stl"]
                self.assertEqual(plan["losses"], expected)

    def test_what_a_gltf_file_holds_besides_travels_between_its_wrappings(self):
        _, glb = self.convert("box.obj", "glb")
        _, gltf = self.convert(glb.name, "gltf")
        root = json.loads(gltf.read_text())
        root["cameras"] = [{"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}}]
        root["animations"] = [{"channels": [], "samplers": []}]
        gltf.write_text(json.dumps(root))
        line, packed = self.convert(str(gltf.relative_to(self.folder)), "glb")
        self.assertEqual(line["warnings"], [])
        _, unpacked = self.convert(str(packed.relative_to(self.folder)), "gltf")
        again = json.loads(unpacked.read_text())
        self.assertEqual((again["cameras"], again["animations"]), (root["cameras"], root["animations"]))
        self.assertEqual(read_scene(unpacked).pictures, [PICTURE])

    def test_files_beside_are_read_from_the_sources_folder_only(self):
        (self.folder / "inner").mkdir()
        self.write("inner/box.obj", BOX)
        self.write("inner/box.mtl", "newmtl plain\nnewmtl wood\nmap_Kd ../wood.png\n")
        line, output = self.convert("inner/box.obj", "glb")
        self.assertEqual(read_scene(output).pictures, [])
        self.assertIn("« ../wood.png » n'est pas lu : seuls les fichiers du dossier de la source le sont.", line["warnings"])

    def test_broken_scenes_end_in_a_sentence(self):
        for name, contents, sentence in (
                ("cut.glb", b"glTF\2\0\0\0\xff\0\0\0", "le fichier s'arrête avant la fin"),
                ("wrong.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n", "la ligne 4 désigne un sommet qui n'existe pas"),
                ("alone.gltf", '{"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":'
                 '[{"attributes":{"POSITION":0}}]}],"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],'
                 '"bufferViews":[{"buffer":0,"byteLength":36}],"buffers":[{"byteLength":36,"uri":"gone.bin"}]}',
                 "le fichier « gone.bin », qui contient les données du modèle, est introuvable"),
                ("nan.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
                 "end_header\n0 nan 0\n", "coordonnées qui ne sont pas des nombres")):
            with self.subTest(name=name):
                self.write(name, contents)
                before = self.names()
                result = self.run_nivex("convert", name, "--to", "stl", expect=1)
                self.assertIn(sentence, result.stderr.decode())
                self.assertEqual(self.names(), before)


if __name__ == "__main__":
    unittest.main()
