"""Vector drawings as pictures and pages, judged by another program."""
import gzip
import subprocess
import unittest

from nivex_case import NivexCase, needs_pictures

DRAWING = """<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="96" height="48">
<rect x="0" y="0" width="48" height="48" fill="#ff0000"/>
<text x="50" y="30" font-size="12" font-family="sans-serif">Été</text>
{}</svg>"""


def colour(file, x, y):
    """Red, green, blue and alpha of a pixel, 0 to 255."""
    told = subprocess.run(["convert", str(file), "-alpha", "set", "-depth", "8", "-crop", f"1x1+{x}+{y}", "rgba:-"],
                          check=True, capture_output=True).stdout
    return tuple(told)


@needs_pictures
class Drawings(NivexCase):
    def convert(self, name, target, *options):
        done, = self.json_lines("convert", name, "--to", target, "--out", "out", *options)
        self.assertEqual(done["state"], "succeeded", done)
        return self.folder / done["outputs"][0]

    def size(self, file):
        return subprocess.run(["identify", "-format", "%w %h", str(file)], check=True, capture_output=True, text=True).stdout

    def test_a_drawing_becomes_a_picture_of_its_size_and_resolution(self):
        self.write("a.svg", DRAWING.format(""))
        picture = self.convert("a.svg", "png", "--dpi", "96")
        self.assertEqual(self.size(picture), "96 48")
        self.assertEqual((colour(picture, 10, 10), colour(picture, 90, 5)[3]), ((255, 0, 0, 255), 0))
        photo = self.convert("a.svg", "jpeg", "--dpi", "192")
        self.assertEqual((self.size(photo), colour(photo, 185, 5)), ("192 96", (255, 255, 255, 255)))

    def test_compressed_drawings_are_the_same(self):
        self.write("a.svg", DRAWING.format(""))
        self.write("b.svgz", gzip.compress(DRAWING.format("").encode()))
        self.assertEqual(self.convert("a.svg", "png").read_bytes(), self.convert("b.svgz", "png").read_bytes())

    def test_on_a_page_lines_stay_lines_and_text_stays_text(self):
        self.write("a.svg", DRAWING.format(""))
        page = self.convert("a.svg", "pdf")
        info = subprocess.run(["pdfinfo", str(page)], check=True, capture_output=True, text=True).stdout
        self.assertIn("72 x 36 pts", info)
        self.assertEqual(subprocess.run(["pdftotext", str(page), "-"], check=True, capture_output=True, text=True).stdout.strip(),
                         "Été")
        self.assertEqual(subprocess.run(["pdfimages", "-list", str(page)], check=True, capture_output=True,
                                        text=True).stdout.count("image"), 0)
        line, = self.json_lines("convert", "a.svg", "--to", "pdf", "--dry-run")
        self.assertEqual(line["plan"]["losses"], [])
        line, = self.json_lines("convert", "a.svg", "--to", "png", "--dry-run")
        self.assertEqual(line["plan"]["losses"], ["rasterization"])

    def test_nothing_outside_the_file_is_drawn(self):
        subprocess.run(["convert", "-size", "48x48", "xc:blue", str(self.folder / "secret.png")], check=True)
        for address in ("secret.png", (self.folder / "secret.png").as_uri(), "http://127.0.0.1:9/secret.png"):
            self.write("a.svg", DRAWING.format(f'<image x="48" y="0" width="48" height="48" xlink:href="{address}"/>'))
            self.assertEqual(colour(self.convert("a.svg", "png", "--dpi", "96"), 90, 40)[3], 0, address)

    def test_bad_drawings_end_in_a_sentence(self):
        uses = "".join(f'<g id="g{i}">' + f'<use xlink:href="#g{i - 1}"/>' * 20 + "</g>" for i in range(1, 10))
        rows = {
            "cut.svg": (DRAWING.format("")[:-10], "endommagé"),
            "flat.svg": ('<svg xmlns="http://www.w3.org/2000/svg" width="0" height="10"><path d="M0 0"/></svg>', "n'a pas de surface"),
            "large.svg": ('<svg xmlns="http://www.w3.org/2000/svg" width="9000000" height="10"/>', "trop grand"),
            "bomb.svg": (DRAWING.format(f'<defs><g id="g0"><rect width="1" height="1"/></g>{uses}</defs><use xlink:href="#g9"/>'),
                         "trop complexe"),
        }
        for name, (text, sentence) in rows.items():
            with self.subTest(name):
                self.write(name, text)
                done, = self.json_lines("convert", name, "--to", "png", "--out", "out", expect=1)
                self.assertIn(sentence, done["message"])


if __name__ == "__main__":
    unittest.main()
