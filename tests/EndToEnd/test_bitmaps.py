"""The formats that NIVEX parses itself, against independent programs."""
import re
import struct
import subprocess
import unittest

from nivex_case import NivexCase


def command(*arguments):
    return subprocess.run([str(each) for each in arguments], check=True, capture_output=True).stdout


def with_imagemagick(path):
    """Red, green, blue and alpha of the upright picture."""
    return command("convert", path, "-auto-orient", "-colorspace", "sRGB", "-depth", "8", "rgba:-")


def with_ffmpeg(path):
    return command("ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", "rgba", "-")


def visible(pixels):
    """The colours of what is wholly transparent do not count."""
    return [pixels[i:i + 4] if pixels[i + 3] else b"" for i in range(0, len(pixels), 4)]


class Bitmaps(NivexCase):
    def setUp(self):
        super().setUp()
        self.made = {
            "colour": ["-depth", "8"],
            "grey": ["-colorspace", "gray", "-depth", "8"],
            "alpha": ["-alpha", "set", "-channel", "A", "-fx", "i/w", "-depth", "8"],
            "palette": ["-colors", "60", "-type", "palette"],
            "two": ["-monochrome"],
        }
        for name, settings in self.made.items():
            command("convert", "-size", "37x23", "-seed", "7", "plasma:red-blue", *settings, self.folder / f"{name}.png")

    def convert(self, name, target):
        self.run_nivex("convert", name, "--to", target)
        output = (self.folder / name).with_suffix("." + target)
        return output.rename(output.with_stem("ours-" + output.stem))

    def test_what_we_write_is_read_alike_by_others(self):
        for target in ["bmp", "tga"]:
            for name in self.made:
                with self.subTest(target=target, name=name):
                    output = self.convert(f"{name}.png", target)
                    expected = with_imagemagick(self.folder / f"{name}.png")
                    self.assertEqual(with_imagemagick(output), expected)
                    self.assertEqual(with_ffmpeg(output), expected)
                    self.assertEqual(with_imagemagick(self.convert(output.name, "png")), expected)

    def test_what_others_write_is_read_as_they_mean_it(self):
        rows = [
            ("BMP2:core.bmp", "colour", []), ("BMP2:core-palette.bmp", "palette", []),
            ("BMP3:info.bmp", "colour", []), ("BMP3:two.bmp", "two", []),
            ("BMP3:run-lengths.bmp", "palette", ["-compress", "RLE"]), ("alpha.bmp", "alpha", []),
            ("packed.tga", "colour", ["-compress", "RLE"]), ("alpha.tga", "alpha", []),
            ("indexed.tga", "palette", []), ("grey.tga", "grey", ["-compress", "RLE"]),
            *[(f"{corner}.tga", "colour", ["-orient", corner])
              for corner in ["TopLeft", "TopRight", "BottomLeft", "BottomRight"]],
        ]
        for written, name, settings in rows:
            with self.subTest(written):
                dialect, _, file = written.rpartition(":")
                path = self.folder / f"theirs-{file}"
                command("convert", self.folder / f"{name}.png", *settings, f"{dialect}:{path}".lstrip(":"))
                self.assertEqual(with_imagemagick(self.convert(path.name, "png")), with_ffmpeg(path))

    def test_a_single_picture_becomes_icons_of_all_sizes_up_to_its_own(self):
        command("convert", "-size", "256x256", "gradient:red-blue", "-alpha", "set", "-channel", "A", "-fx", "i/w",
                "-depth", "8", self.folder / "large.png")
        listed = command("icotool", "-l", self.convert("large.png", "ico")).decode()
        self.assertEqual(re.findall(r"--width=(\d+)", listed), ["256", "128", "64", "48", "32", "24", "16"])
        listed = command("icns2png", "-l", self.convert("large.png", "icns")).decode()
        self.assertEqual(re.findall(r"'(\w+)' .*\(", listed),
                         ["ic08", "it32", "t8mk", "ic12", "ih32", "h8mk", "il32", "l8mk", "is32", "s8mk"])

    def test_icons_show_the_picture_in_the_middle_of_a_square(self):
        expected = command("convert", self.folder / "alpha.png", "-background", "none", "-gravity", "center",
                           "-extent", "37x37", "-depth", "8", "rgba:-")
        icon = self.convert("alpha.png", "ico")
        command("icotool", "-x", "-w", "37", "-o", self.folder / "icotool.png", icon)
        for decoded in [with_imagemagick(f"{icon}[0]"), with_imagemagick(self.folder / "icotool.png")]:
            self.assertEqual(visible(decoded), visible(expected))
        command("icns2png", "-x", "-o", self.folder, self.convert("alpha.png", "icns"))
        expected = command("convert", self.folder / "alpha.png", "-background", "none",
                           "-extent", "48x48-5-12", "-depth", "8", "rgba:-")
        extracted, = self.folder.glob("ours-alpha_48x48*.png")
        self.assertEqual(visible(with_imagemagick(extracted)), visible(expected))

    def test_icons_of_others_keep_their_sizes(self):
        sizes = [48, 32, 16]
        for size in sizes:
            command("convert", self.folder / "alpha.png", "-resize", f"{size}x{size}!", "-depth", "8",
                    f"PNG32:{self.folder}/{size}.png")
            command("convert", self.folder / f"{size}.png", "-channel", "A", "-threshold", "50%", "+channel",
                    "-background", "black", "-alpha", "background", "-colors", "12", f"PNG32:{self.folder}/{size}-few.png")
        full = [self.folder / f"{size}.png" for size in sizes]
        few = [self.folder / f"{size}-few.png" for size in sizes]
        command("icotool", "-c", "-o", self.folder / "full.ico", *full)
        command("icotool", "-c", "-b", "4", "-o", self.folder / "few.ico", *few)
        command("icotool", "-c", "-r", full[0], "-o", self.folder / "png.ico")
        command("png2icns", self.folder / "full.icns", *full)
        for name, pictures in [("full.ico", full), ("few.ico", few), ("png.ico", full[:1]), ("full.icns", full)]:
            with self.subTest(name):
                pages = self.convert(name, "tiff")
                self.assertEqual([visible(with_imagemagick(f"{pages}[{i}]")) for i in range(len(pictures))],
                                 [visible(with_imagemagick(picture)) for picture in pictures])
                pages.unlink()

    def test_photoshop_documents(self):
        for name in ["colour", "grey", "palette", "two"]:
            with self.subTest(name):
                expected = with_imagemagick(self.folder / f"{name}.png")
                self.assertEqual(with_imagemagick(self.convert(f"{name}.png", "psd")), expected)
                for number, settings in enumerate([[], ["-compress", "None"], ["-compress", "Zip"], ["-depth", "16"]]):
                    for extension in ["psd", "psb"]:
                        path = self.folder / f"theirs-{number}-{name}.{extension}"
                        command("convert", self.folder / f"{name}.png", "-type", "TrueColor", *settings, path)
                        self.assertEqual(with_imagemagick(self.convert(path.name, "png")), expected)
        ours = with_imagemagick(self.convert("alpha.png", "psd"))
        for one, other in zip(visible(ours), visible(with_imagemagick(self.folder / "alpha.png"))):
            if one or other:  # colours lie over white, so the fainter a pixel the coarser
                self.assertEqual(one[3], other[3])
                self.assertLessEqual(max(abs(a - b) for a, b in zip(one[:3], other[:3])) * one[3], 256)

    def test_a_grey_photoshop_document_in_linear_light(self):
        header = struct.pack(">4sH6xHIIHH", b"8BPS", 1, 1, 1, 2, 32, 1)
        self.write("light.psd", header + bytes(12) + struct.pack(">H2f", 0, 0.5, 1.0))
        output = self.convert("light.psd", "exr")
        for x, light in enumerate((0.5, 1.0)):
            seen = command("vips", "getpoint", output, x, 0).decode().split()
            self.assertEqual([float(component) for component in seen[:3]], [light] * 3)
        with_eight_bits = with_imagemagick(self.convert("light.psd", "png"))
        for seen, expected in zip(with_eight_bits, [188, 188, 188, 255, 255, 255, 255, 255], strict=True):
            self.assertAlmostEqual(seen, expected, delta=1)

    def test_a_photoshop_document_keeps_what_a_photograph_says(self):
        command("convert", self.folder / "colour.png", self.folder / "told.jpg")
        command("exiftool", "-q", "-overwrite_original", "-EXIF:Model=Essai", "-XMP-dc:Title=Titre",
                "-IPTC:ObjectName=Objet", "-EXIF:XResolution=300", "-EXIF:YResolution=300", self.folder / "told.jpg")
        told = command("exiftool", "-s3", "-Model", "-Title", "-ObjectName", self.convert("told.jpg", "psd")).decode()
        self.assertEqual(told.split(), ["Essai", "Titre", "Objet"])

    def test_a_cut_file_is_damaged(self):
        for target in ["bmp", "tga", "ico", "icns", "psd"]:
            whole = self.convert("alpha.png", target).read_bytes()
            for size in [20, len(whole) // 3, len(whole) - 600]:
                with self.subTest(target=target, size=size):
                    self.write(f"cut.{target}", whole[:size])
                    failed, = self.json_lines("convert", f"cut.{target}", "--to", "png", expect=1)
                    self.assertRegex(failed["message"], "endommagé|incomplet|tronqué|ne correspond pas")
                    self.assertNotIn("cut.png", self.names())


if __name__ == "__main__":
    unittest.main()
