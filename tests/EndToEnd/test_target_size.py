"""Pictures under a target size, measured by other programs."""
import re
import shutil
import unittest

from nivex_case import NivexCase
from pictures import run


def pixels(path):
    width, height = run("identify", "-format", "%w %h\n", path).stdout.decode().splitlines()[0].split()
    return int(width), int(height)


def likeness(one, other, size):
    """The peak signal-to-noise ratio in dB when both are shown at the same size."""
    compared = run("convert", one, "-resize", f"{size[0]}x{size[1]}!", other, "-metric", "PSNR", "-compare", "-format",
                   "%[distortion]", "info:")
    return float(compared.stdout.decode())


class TargetSize(NivexCase):
    def photograph(self, name="photo.jpg", size="1200x800", quality=95):
        """Something with the smooth and the rough parts of a photograph."""
        path = self.folder / name
        run("convert", "-size", size, "-seed", "5", "plasma:tomato-steelblue", "(", "-size", size, "-seed", "7",
            "xc:gray50", "+noise", "Gaussian", "-blur", "0x1", ")", "-compose", "overlay", "-composite", "-depth", "8",
            "-quality", str(quality), path)
        return path

    def assert_just_below(self, path, maximum):
        size = path.stat().st_size
        self.assertLessEqual(size, maximum)
        self.assertGreaterEqual(size, 0.97 * maximum)

    def shrunk(self, command, source, maximum, *options):
        """Runs one conversion under a limit of so many bytes and returns its result."""
        out = self.folder / f"{maximum}"
        out.mkdir(exist_ok=True)
        done, = self.json_lines(*command, source.name, "--max-size", str(maximum), "--out", out, *options)
        self.assertEqual(done["state"], "succeeded", done)
        self.assertTrue(self.nothing_hidden(out))
        self.assertEqual(len(done["outputs"]), 1)
        return self.folder / done["outputs"][0]

    def decoded(self, path):
        """The picture as PNG, by a program that is not ours."""
        png = self.folder / "decoded.png"
        run("vips", "copy", path, png)
        return png

    def test_quality_is_lowered_before_pixels_are(self):
        source = self.photograph()
        whole = source.stat().st_size
        for part, is_whole, decibel in [(0.22, True, 30), (0.08, False, 26), (0.02, False, 23)]:
            with self.subTest(part=part):
                maximum = int(whole * part)
                result = self.shrunk(["optimize"], source, maximum)
                self.assert_just_below(result, maximum)
                self.assertEqual(pixels(result) == (1200, 800), is_whole)
                self.assertAlmostEqual(pixels(result)[0] / pixels(result)[1], 1.5, delta=0.03)
                self.assertGreater(likeness(source, result, pixels(result)), decibel)

    def test_what_fits_already_is_copied_byte_for_byte(self):
        source = self.photograph(size="300x200")
        result = self.shrunk(["optimize"], source, 1_000_000)
        self.assertEqual(result.read_bytes(), source.read_bytes())
        smaller = self.shrunk(["optimize"], source, 1_000_000, "--max-dimension", "100")
        self.assertEqual(pixels(smaller), (100, 67))
        told = self.folder / f"dit{source.suffix}"
        shutil.copy(source, told)
        run("exiftool", "-overwrite_original", "-Comment=dit", told)
        bare = self.shrunk(["optimize"], told, 1_000_000, "--metadata", "removeAll")
        self.assertEqual(bare.read_bytes(), source.read_bytes(), "more than the metadata went")

    def test_conversions_keep_to_a_limit(self):
        png = self.photograph("dessin.png", size="900x600")
        # An encoder whose steps are coarse may end further below the limit: one step is 12 % of a HEIC file.
        for target, least in {"jpeg": 0.97, "jp2": 0.95, "avif": 0.92, "heic": 0.86}.items():
            for maximum in (60_000, 10_000):
                with self.subTest(target=target, maximum=maximum):
                    result = self.shrunk(["convert", "--to", target], png, maximum)
                    self.assertLessEqual(result.stat().st_size, maximum)
                    self.assertGreaterEqual(result.stat().st_size, least * maximum)
                    self.assertGreater(likeness(png, self.decoded(result), pixels(self.decoded(result))), 20)
            whole = self.shrunk(["convert", "--to", target], png, 100_000_000)
            self.assertLess(whole.stat().st_size, 2_000_000, "more than the quality asked for")

    def test_pages_keep_their_size_with_fewer_pixels(self):
        source = self.photograph()
        run("exiftool", "-q", "-overwrite_original", "-XResolution=150", "-YResolution=150", "-ResolutionUnit=inches",
            source)
        whole = self.shrunk(["convert", "--to", "pdf"], source, 2_000_000)
        self.assertGreater(whole.stat().st_size, source.stat().st_size, "its data were not taken over as they are")
        for maximum in (100_000, 20_000):
            result = self.shrunk(["convert", "--to", "pdf"], source, maximum)
            self.assert_just_below(result, maximum)
            self.assertEqual(self.page_size(result), self.page_size(whole))

    def page_size(self, path):
        told = re.search(r"Page size: +([\d.]+) x ([\d.]+)", run("pdfinfo", path).stdout.decode())
        return round(float(told[1])), round(float(told[2]))

    def test_metadata_count_and_are_kept(self):
        source = self.photograph()
        run("exiftool", "-q", "-overwrite_original", "-Artist=" + "Camille " * 1500, source)
        result = self.shrunk(["optimize"], source, 40_000)
        self.assert_just_below(result, 40_000)
        artist = run("exiftool", "-b", "-Artist", result).stdout.decode()
        self.assertEqual(artist.count("Camille"), 1500)

    def test_an_impossible_limit_is_said_and_leaves_nothing(self):
        source = self.photograph(size="300x200")
        run("exiftool", "-q", "-overwrite_original", "-Artist=" + "Camille " * 3000, source)
        failed, = self.json_lines("optimize", source.name, "--max-size", "12KB", expect=1)
        self.assertEqual(failed["message"], "L'écriture du nouveau fichier a échoué : "
                         "impossible d'obtenir un fichier de moins de 12 ko")
        self.assertEqual(self.names(), ["photo.jpg"])
        self.assertTrue(self.nothing_hidden())
        run("vips", "icc_transform", source, self.folder / "encres.jpg", "cmyk", "--input-profile", "srgb")
        failed, = self.json_lines("optimize", "encres.jpg", "--max-size", "300KB", expect=1)
        self.assertIn(" : le profil de couleur en demande déjà 9", failed["message"])
        self.environment["NIVEX_LANG"] = "en"
        failed, = self.json_lines("optimize", source.name, "--max-size", "12KB", expect=1)
        self.assertTrue(failed["message"].endswith(": no file of less than 12 KB can be made"), failed["message"])


if __name__ == "__main__":
    unittest.main()
