import subprocess
import unittest

from nivex_case import NivexCase
from raw_files import camera_file

PATCHES = [(200, 40, 30), (30, 180, 60), (40, 50, 190), (128, 128, 128), (240, 230, 60), (20, 20, 20)]


def patch(x, y):
    return PATCHES[x // 32 + 3 * (y // 32)]


class Raw(NivexCase):
    def levels(self, name, points):
        """What another program sees in a PNG of 16 bits, as levels of 8."""
        seen = []
        for x, y in points:
            told = subprocess.run(["vips", "getpoint", name, str(x), str(y)], cwd=self.folder, check=True,
                                  capture_output=True, text=True).stdout
            seen.append([float(sample) / 257 for sample in told.split()])
        return seen

    def camera(self, name, **settings):
        settings = {"make": "Essai", "model": "Appareil d'essai", "dng": True} | settings
        return self.write(name, camera_file(96, 64, patch, **settings))

    def develop(self, name, *options):
        done, = self.json_lines("convert", name, "--to", "png", *options)
        return done["outputs"][0]

    def test_colours_of_a_dng_are_those_of_the_scene(self):
        cases = {
            "plain": {},
            "white balance, black and white levels": {"gains": (2, 1, 1.5), "black": 256, "white": 16383},
            "turned, once": {"orientation": 6},
            "packed without loss, in tiles": {"tile_side": 32},
        }
        for number, (name, settings) in enumerate(cases.items()):
            with self.subTest(name):
                self.camera(f"{number}.dng", **settings)
                points = [(16 + 32 * (i % 3), 16 + 32 * (i // 3)) for i in range(6)]
                if "orientation" in settings:
                    points = [(63 - y, x) for x, y in points]
                for seen, color in zip(self.levels(self.develop(f"{number}.dng"), points), PATCHES):
                    for a, b in zip(seen, color):
                        self.assertAlmostEqual(a, b, delta=1.5)

    def test_a_file_may_ask_for_more_light(self):
        self.write("clair.dng", camera_file(64, 64, lambda x, y: (100, 100, 100), "Essai", "Essai", dng=True,
                                            exposure=1))
        self.assertAlmostEqual(self.levels(self.develop("clair.dng"), [(30, 30)])[0][0], 138, delta=1)

    def test_files_of_makers(self):
        for name, make, model in [("a.nef", "NIKON CORPORATION", "NIKON D100"), ("b.arw", "SONY", "ILCE-7M3")]:
            self.camera(name, make=make, model=model, dng=False)
            red, green, blue = self.levels(self.develop(name), [(16, 16), (48, 16), (80, 16)])
            self.assertTrue(red[0] > 2 * red[1] and green[1] > 2 * green[0] and blue[2] > 2 * blue[1], name)

    def test_a_smaller_picture_is_developed_at_half_size(self):
        self.camera("a.dng")
        self.assertEqual(self.develop("a.dng", "--max-dimension", "48"), "a.png")
        self.assertAlmostEqual(self.levels("a.png", [(8, 8)])[0][0], 200, delta=2)

    def test_what_was_cut_short_is_no_picture(self):
        whole = self.camera("a.dng").read_bytes()
        for kept in (len(whole) - 2, len(whole) // 2, 700, 300, 60):
            self.write("b.dng", whole[:kept])
            failed, = self.json_lines("convert", "b.dng", "--to", "png", expect=1)
            self.assertNotEqual(failed["state"], "succeeded")
            self.assertRegex(failed["message"], "endommagé|incomplet|tronqué|contenu|reconnu")
        self.assertEqual(self.names(), ["a.dng", "b.dng"])

    def test_a_piece_that_is_missing_is_not_black(self):
        whole = self.camera("a.dng", tile_side=32).read_bytes()
        begins = [at for at in range(len(whole)) if whole[at:at + 4] == b"\xff\xd8\xff\xc3"]
        self.assertEqual(len(begins), 6)
        for begin in (begins[0], begins[3], begins[5]):
            for damaged in (whole[:begin] + bytes(len(whole) - begin), whole[:begin]):
                self.write("b.dng", damaged)
                failed, = self.json_lines("convert", "b.dng", "--to", "png", expect=1)
                self.assertIn("endommagé", failed["message"])


if __name__ == "__main__":
    unittest.main()
