import subprocess
import unittest

from nivex_case import NivexCase


def run(*command, folder):
    subprocess.run([str(part) for part in command], cwd=folder, check=True, capture_output=True)


class OtherPrograms(NivexCase):
    """Pictures between us and the programs that the makers of the formats publish."""

    def setUp(self):
        super().setUp()
        for name, shape in [("photo.png", "gradient:red-blue"), ("alpha.png", "gradient:#ff000080-#0000ffff")]:
            run("convert", "-size", "90x70", shape, "-depth", "8", "-swirl", "40", "-strip", name, folder=self.folder)
        run("convert", "-size", "90x70", "gradient:black-white", "-depth", "16", "-define", "png:bit-depth=16", "-strip",
            "deep.png", folder=self.folder)

    def greatest_difference(self, first, second):
        """Of samples from 0 to 1."""
        told = subprocess.run(["compare", "-metric", "PAE", first, second, "null:"], cwd=self.folder,
                              capture_output=True, text=True).stderr
        return float(told.split("(")[1].split(")")[0])

    def test_they_read_what_we_write(self):
        readers = {
            "jp2": lambda name: run("opj_decompress", "-i", name + ".jp2", "-o", "theirs.png", folder=self.folder),
            "jxl": lambda name: run("djxl", name + ".jxl", "theirs.png", folder=self.folder),
            "astc": lambda name: run("astcenc", "-ds", name + ".astc", "theirs.png", folder=self.folder),
        }
        for target, convert in readers.items():
            for name in ("photo", "alpha", "deep"):
                with self.subTest(f"{name} as {target}"):
                    self.json_lines("convert", name + ".png", "--to", target, "--quality", "1")
                    convert(name)
                    exact = target != "astc"
                    self.assertLessEqual(self.greatest_difference(name + ".png", "theirs.png"), 0 if exact else 0.04)

    def test_we_read_what_they_write(self):
        writers = {
            "a.jp2": ["opj_compress", "-i", "photo.png", "-o", "a.jp2", "-t", "33,32", "-n", "3"],
            "b.j2k": ["opj_compress", "-i", "deep.png", "-o", "b.j2k", "-SOP", "-EPH"],
            "c.jxl": ["cjxl", "alpha.png", "c.jxl", "-d", "0"],
            "d.jxl": ["cjxl", "deep.png", "d.jxl", "-d", "0", "--container=1"],
        }
        sources = {"a.jp2": "photo.png", "b.j2k": "deep.png", "c.jxl": "alpha.png", "d.jxl": "deep.png"}
        for name, command in writers.items():
            with self.subTest(name):
                run(*command, folder=self.folder)
                done, = self.json_lines("convert", name, "--to", "png")
                self.assertEqual(self.greatest_difference(done["outputs"][0], sources[name]), 0)

    def test_openexr_is_linear_light_with_associated_alpha(self):
        self.json_lines("convert", "alpha.png", "--to", "exr")
        def samples(*command):
            return [float(each) for each in subprocess.run(command, cwd=self.folder, check=True, capture_output=True,
                                                           text=True).stdout.split()]
        run("vips", "openexrload", "alpha.exr", "theirs.v", folder=self.folder)
        run("vips", "colourspace", "alpha.png", "ours.v", "scrgb", folder=self.folder)
        for x, y in (0, 0), (45, 35), (89, 69):
            stored = samples("vips", "getpoint", "theirs.v", str(x), str(y))
            source = samples("vips", "getpoint", "ours.v", str(x), str(y))
            self.assertAlmostEqual(stored[3], source[3], delta=0.1)  # both of 255
            for a, b in zip(stored[:3], source[:3]):
                self.assertAlmostEqual(a, b * source[3] / 255, delta=0.001)


if __name__ == "__main__":
    unittest.main()
