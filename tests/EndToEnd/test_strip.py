"""The place, or all metadata, taken out of pictures without touching a pixel."""
import hashlib
import unittest

from nivex_case import NivexCase
from photographs import photograph
from pictures import run
from test_metadata import tags

EXTENSIONS = {"jpeg": "jpg", "png": "png", "webp": "webp", "tiff": "tif", "heic": "heic", "avif": "avif"}
SHAPES_PICTURE = {"IFD0:Orientation", "IFD0:XResolution", "IFD0:YResolution", "IFD0:ResolutionUnit"}


def pixels(path):
    """The pixels as another program decodes them, before they are turned."""
    return hashlib.sha256(run("vips", "rawsave", path, "/dev/stdout").stdout).hexdigest()


def tells_place(said):
    return [name for name in said if "GPS" in name or name.startswith("XMP-exif:GPS")]


class Strip(NivexCase):
    maxDiff = None

    def setUp(self):
        super().setUp()
        photograph(self.folder / "photo.jpg")
        for target in EXTENSIONS:
            if target != "jpeg":
                self.run_nivex("convert", "photo.jpg", "--to", target)
        self.sources = sorted(path for path in self.folder.glob("photo.*"))
        self.assertEqual(len(self.sources), len(EXTENSIONS))

    def stripped(self, *options):
        lines = self.json_lines("strip", *[path.name for path in self.sources], *options)
        self.assertEqual([line["state"] for line in lines], ["succeeded"] * len(self.sources), lines)
        self.assertFalse(any("losses" in line and line["losses"] for line in lines), lines)
        by_source = {line["source"]: line["outputs"][0] for line in lines}
        return [(path, self.folder / by_source[path.name]) for path in self.sources]

    def test_all_of_it_goes_and_no_pixel_changes(self):
        before = {path: path.read_bytes() for path in self.sources}
        for source, output in self.stripped():
            with self.subTest(source.name):
                self.assertEqual(pixels(output), pixels(source))
                said, = tags(output)
                self.assertEqual(set(said) - SHAPES_PICTURE, set())
                self.assertEqual(source.read_bytes(), before[source], "the original was written")
                self.assertNotEqual(source, output)

    def test_the_place_alone_goes_and_the_rest_stays(self):
        for source, output in self.stripped("--metadata", "removeLocation"):
            with self.subTest(source.name):
                self.assertEqual(pixels(output), pixels(source))
                (said,), (left,) = tags(source), tags(output)
                self.assertTrue(tells_place(said), "the source has no place to lose")
                self.assertEqual(tells_place(left), [])
                self.assertEqual({name: said[name] for name in said if name not in tells_place(said)}, left)

    def test_a_file_that_fits_already_loses_them_without_being_encoded_again(self):
        source = self.folder / "photo.jpg"
        line, = self.json_lines("optimize", source.name, "--max-size", "5Mo", "--metadata", "removeAll")
        output = self.folder / line["outputs"][0]
        self.assertEqual(pixels(output), pixels(source))
        self.assertEqual(set(tags(output)[0]) - SHAPES_PICTURE, set())

    def test_a_film_behind_a_picture_goes_and_that_is_said(self):
        film = b"\0\0\0\x18ftypmp42\0\0\0\0mp42isom" + b"\0\0\x10\0mdat" + bytes(range(256)) * 16
        source = self.write("mobile.jpg", (self.folder / "photo.jpg").read_bytes() + film)
        for policy in ("removeAll", "removeLocation"):
            line, = self.json_lines("strip", source.name, "--metadata", policy)
            self.assertNotIn(b"ftypmp42", (self.folder / line["outputs"][0]).read_bytes())
            self.assertIn("Ce qui suivait l'image", " ".join(line["warnings"]))
        line, = self.json_lines("strip", "photo.jpg")
        self.assertEqual(line["warnings"], [])

    def test_what_is_broken_or_cannot_be_done_is_refused_and_nothing_is_written(self):
        for source in self.sources:
            whole = source.read_bytes()
            self.write(f"coupé{source.suffix}", whole[:len(whole) * 2 // 3])
        self.write("film.srt", "1\n00:00:01,000 --> 00:00:02,000\noui\n")
        before = self.names()
        for name in [name for name in before if name.startswith("coupé")]:
            line, = self.json_lines("strip", name, expect=1)
            self.assertEqual(line["state"], "failed", name)
        line, = self.json_lines("strip", "film.srt", expect=1)
        self.assertIn("ne peuvent pas être retirées seules", line["message"])
        self.assertIn("ne retire rien", self.run_nivex("strip", "photo.jpg", "--metadata", "keep",
                                                       expect=2).stderr.decode())
        self.assertEqual(self.names(), before)


if __name__ == "__main__":
    unittest.main()
