"""Pictures as pages of PDF files, judged by other programs."""
import re
import subprocess
import unittest

from nivex_case import NivexCase
from photographs import photograph


def run(*arguments, **options):
    return subprocess.run([str(each) for each in arguments], check=True, capture_output=True, **options).stdout


class PicturesToPdf(NivexCase):
    def picture(self, name, *how):
        run("convert", *how, self.folder / name)
        return name

    def pdf(self, name, *options):
        done, = self.json_lines("convert", name, "--to", "pdf", *options)
        self.assertEqual(done["state"], "succeeded", done)
        output = self.folder / done["outputs"][0]
        run("qpdf", "--check", output)
        return output

    def images(self, output):
        """Each image of the file: kind, width, height, colour, filter."""
        rows = run("pdfimages", "-list", output).decode().splitlines()[2:]
        return [(row.split()[2], int(row.split()[3]), int(row.split()[4]), row.split()[5], row.split()[8])
                for row in rows]

    def page_sizes(self, output):
        told = run("pdfinfo", "-f", "1", "-l", "9", output).decode()
        return [(float(width), float(height)) for width, height in
                re.findall(r"size:\s+([\d.]+) x ([\d.]+) pts", told)]

    def rendered(self, output, page=1):
        """The page with one pixel a unit, so that a picture of 72 dots per inch comes out as it is."""
        run("pdftoppm", "-png", "-r", "72", "-f", page, "-l", page, "-singlefile", output, self.folder / "rendered")
        return self.folder / "rendered.png"

    def assertLooksLike(self, found, expected, most=15.0):
        """The mean error of a component, of 255; a renderer moves pixels by a part of one, which costs about 8."""
        told = subprocess.run(["compare", "-metric", "MAE", str(found), str(expected), "null:"],
                              capture_output=True, text=True).stderr
        self.assertLess(float(re.search(r"\(([\d.e+-]+)\)", told)[1]) * 255, most, f"{found} {expected}")

    def test_jpeg_data_are_passed_through(self):
        photo = photograph(self.folder / "photo.jpg", size="120x200")
        output = self.pdf("photo.jpg")
        run("pdfimages", "-j", output, self.folder / "kept")
        self.assertEqual((self.folder / "kept-000.jpg").read_bytes(), photo.read_bytes())
        self.assertEqual(output.read_bytes(), self.pdf("photo.jpg").read_bytes())
        self.assertIn(b"Le pont", run("exiftool", "-XMP-dc:Title", "-XMP-exif:FNumber", output))

        for policy in ("removeLocation", "removeAll"):
            bare = self.pdf("photo.jpg", "--metadata", policy)
            run("pdfimages", "-j", bare, self.folder / policy)
            inside = self.folder / f"{policy}-000.jpg"
            self.assertEqual(run("exiftool", "-EXIF:all", "-XMP:all", "-IPTC:all", inside), b"")
            self.assertEqual(run("exiftool", "-gps*", bare), b"")
            self.assertEqual(run("exiftool", "-XMP:Title", bare) == b"", policy == "removeAll")
            self.assertLooksLike(inside, photo, most=0.001)

    def test_what_follows_the_picture_in_its_file_goes_too(self):
        """A second picture behind the first tells where it was taken as well."""
        photo = photograph(self.folder / "photo.jpg")
        second = photograph(self.folder / "second.jpg")
        whole = self.write("both.jpg", photo.read_bytes() + second.read_bytes())
        self.assertNotIn(b"Camille", self.pdf(whole.name, "--metadata", "removeAll").read_bytes())
        self.picture("progressive.jpg", photo, "-interlace", "Plane")
        bare = self.pdf("progressive.jpg", "--metadata", "removeAll")
        self.assertEqual(self.images(bare)[0][4], "jpeg")
        run("convert", photo, "-strip", "-density", "72", "-units", "PixelsPerInch", self.folder / "flat.png")
        run("pdfimages", "-j", bare, self.folder / "bare")
        self.assertLooksLike(self.folder / "bare-000.jpg", self.folder / "progressive.jpg", most=0.001)

    def test_every_orientation(self):
        photo = photograph(self.folder / "photo.jpg", size="120x80")
        run("convert", photo, "-strip", "-density", "72", "-units", "PixelsPerInch", self.folder / "plain.jpg")
        for orientation in range(1, 9):
            name = f"turned-{orientation}.jpg"
            (self.folder / name).write_bytes((self.folder / "plain.jpg").read_bytes())
            run("exiftool", "-q", "-overwrite_original", "-n", f"-Orientation={orientation}", self.folder / name)
            output = self.pdf(name)
            upright = self.picture(f"upright-{orientation}.png", self.folder / name, "-auto-orient")
            self.assertEqual(self.page_sizes(output), [(120, 80) if orientation < 5 else (80, 120)])
            self.assertLooksLike(self.rendered(output), self.folder / upright)

    def test_kinds_of_pictures(self):
        photo = photograph(self.folder / "photo.jpg")
        plain = ["-strip", "-density", "72", "-units", "PixelsPerInch"]
        rows = [
            # what, how it is made, images in the file, exact
            ("lossy colours", self.picture("lossy.png", photo, *plain), ["rgb jpeg"], False),
            ("lossless colours", self.picture("exact.png", photo, *plain), ["rgb image"], True),
            ("grey", self.picture("grey.png", photo, *plain, "-colorspace", "Gray"), ["gray jpeg"], False),
            ("exact grey", self.picture("exact-grey.png", photo, *plain, "-colorspace", "Gray"), ["gray image"], True),
            ("palette", self.picture("palette.png", photo, *plain, "-colors", "16", "-type", "Palette"),
             ["rgb image"], False),
            ("transparent", self.picture("alpha.png", photo, *plain, "-alpha", "set", "-channel", "A",
                                         "-evaluate", "set", "40%"), ["rgb jpeg", "gray image"], False),
        ]
        for what, name, images, isExact in rows:
            with self.subTest(what):
                # What was stored without loss stays so, unless less than the usual quality is asked for.
                output = self.pdf(name, *(() if isExact else ("--quality", "0.8")))
                self.assertEqual([f"{colour} {coding}" for _, _, _, colour, coding in self.images(output)], images)
                flat = self.picture("flat.png", self.folder / name, "-background", "white", "-flatten")
                self.assertLooksLike(self.rendered(output), self.folder / flat)
                if isExact:
                    run("pdfimages", "-png", output, self.folder / "exact")
                    self.assertLooksLike(self.folder / "exact-000.png", self.folder / name, most=0.001)

    def test_four_inks(self):
        photo = photograph(self.folder / "photo.jpg")
        run("vips", "icc_transform", photo, self.folder / "inks.jpg", "cmyk", "--embedded")
        run("vips", "icc_transform", photo, self.folder / "inks.tif", "cmyk", "--embedded")
        run("vips", "icc_transform", photo, self.folder / "seen.png", "srgb", "--embedded")
        for name, options in [("inks.jpg", ()), ("inks.tif", ()), ("inks.tif", ("--quality", "1"))]:
            output = self.pdf(name, *options)
            self.assertEqual(self.images(output)[0][3], "icc")
            run("pdftoppm", "-png", "-r", "300", "-singlefile", output, self.folder / "rendered")
            self.assertLooksLike(self.folder / "rendered.png", self.folder / "seen.png", most=20)

    def test_page_sizes(self):
        rows = [
            ("300 dots per inch", ["-size", "600x300", "xc:red", "-density", "300", "-units", "PixelsPerInch"],
             (144, 72)),
            ("no resolution", ["-size", "600x300", "xc:red", "-strip", "-units", "Undefined"], (600, 300)),
            ("longer than a page can be", ["-size", "15000x10", "xc:red", "-units", "Undefined"], (14400, 9.6)),
            ("smaller than a page can be", ["-size", "1x1", "xc:red", "-units", "Undefined"], (3, 3)),
        ]
        for what, how, size in rows:
            with self.subTest(what):
                for extension in ("png", "jpg"):
                    found = self.page_sizes(self.pdf(self.picture(f"{what}.{extension}", *how)))[0]
                    self.assertAlmostEqual(found[0], size[0], delta=size[0] / 500)
                    self.assertAlmostEqual(found[1], size[1], delta=size[1] / 500)

    def test_each_page_of_a_document(self):
        self.picture("pages.tif", "-size", "60x40", "xc:red", "(", "-size", "30x90", "xc:blue", ")", "-density", "72",
                     "-units", "PixelsPerInch")
        output = self.pdf("pages.tif")
        self.assertEqual(self.page_sizes(output), [(60, 40), (30, 90)])
        colour = run("convert", self.rendered(output, page=2), "-scale", "1x1!", "-format", "%[hex:p{0,0}]", "info:")
        self.assertTrue(colour.decode().startswith("0000F"), colour)

    def test_cut_pictures_are_refused(self):
        """Passing data through must not pass damage through."""
        whole = photograph(self.folder / "photo.jpg").read_bytes()
        self.write("cut.jpg", whole[:len(whole) * 2 // 3])
        self.run_nivex("convert", "cut.jpg", "--to", "pdf", expect=1)
        self.assertFalse([name for name in self.names() if name.endswith(".pdf")])


if __name__ == "__main__":
    unittest.main()
