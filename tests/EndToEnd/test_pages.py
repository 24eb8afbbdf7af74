"""Pages of PDF documents as pictures and as text, judged by other programs."""
import re
import subprocess
import unittest

from nivex_case import NivexCase, needs_pictures
from pdf_files import pdf, text_page


def run(*arguments):
    return subprocess.run([str(each) for each in arguments], check=True, capture_output=True).stdout


@needs_pictures
class Pages(NivexCase):
    def convert(self, name, target, *options, expect="succeeded"):
        done, = self.json_lines("convert", name, "--to", target, *options, expect=0 if expect == "succeeded" else 1)
        self.assertEqual(done["state"], expect, done)
        return done

    def error(self, found, expected):
        """The mean difference of a component, of 255, in pictures that have one size."""
        sizes = [run("identify", "-format", "%wx%h", each) for each in (found, expected)]
        self.assertEqual(*sizes)
        told = subprocess.run(["compare", "-metric", "MAE", str(found), str(expected), "null:"],
                              capture_output=True, text=True).stderr
        return float(re.search(r"\(([\d.e+-]+)\)", told)[1]) * 255

    def test_pages_look_as_other_programs_draw_them(self):
        words = [text_page([(72, 700, f"Page {i}, « été »"), (72, 600, "Deux lignes")], size=(300 + i, 800))
                 for i in range(1, 12)]
        self.write("doc.pdf", pdf(words))
        outputs = self.convert("doc.pdf", "png", "--dpi", "96")["outputs"]
        self.assertEqual([each.rsplit("/")[-1] for each in outputs], [f"doc-{i:02}.png" for i in range(1, 12)])
        run("pdftoppm", "-png", "-r", "96", self.folder / "doc.pdf", self.folder / "judge")
        for i in (1, 7, 11):
            self.assertLess(self.error(self.folder / f"doc-{i:02}.png", self.folder / f"judge-{i:02}.png"), 2.0)
        told = run("identify", "-format", "%x %U", self.folder / "doc-01.png").decode()
        self.assertAlmostEqual(float(told.split()[0]) * (2.54 if "Centi" in told else 1), 96, delta=0.1)

    def test_one_tiff_holds_all_pages(self):
        self.write("doc.pdf", pdf([text_page([(10, 50, "a")], size=(200, 100)), text_page([], size=(100, 300))]))
        self.convert("doc.pdf", "tiff", "--dpi", "72")
        self.assertEqual(run("identify", "-format", "%wx%h ", self.folder / "doc.tiff").decode(), "200x100 100x300 ")

    def test_one_page_has_no_number_and_options_are_honoured(self):
        self.write("doc.pdf", pdf([text_page([(10, 50, "a")], size=(200, 100))]))
        for target in ("png", "jpeg", "webp", "heic", "avif", "jxl", "gif"):
            self.assertTrue(self.convert("doc.pdf", target, "--max-dimension", "100")["outputs"][0]
                            .endswith("doc." + target.replace("jpeg", "jpg")))
        self.assertEqual(run("identify", "-format", "%wx%h", self.folder / "doc.png"), b"100x50")
        self.convert("doc.pdf", "png", "--page-background", "transparent")
        corner = run("convert", self.folder / "doc 2.png", "-format", "%[fx:p{0,0}.a]", "info:")
        self.assertEqual(corner, b"0")
        small = self.convert("doc.pdf", "jpeg", "--dpi", "300", "--max-size", "10KB")
        self.assertLessEqual(small["totalBytes"], 10_000)

    def test_text_is_that_of_pdftotext(self):
        columns = [(50, 700 - 14 * i, f"gauche {i}") for i in range(20)] + \
                  [(350, 700 - 14 * i, f"droite {i}") for i in range(20)]
        self.write("doc.pdf", pdf([text_page(columns), text_page([(72, 700, "fin")])]))
        self.convert("doc.pdf", "txt")
        text = (self.folder / "doc.txt").read_text()
        self.assertEqual(text.split(), run("pdftotext", self.folder / "doc.pdf", "-").decode().split())
        self.assertLess(text.index("gauche 19"), text.index("droite 0"), "columns are kept apart")
        first, second = text.split("\f")
        self.assertEqual(second.strip(), "fin")

    def test_what_cannot_be_drawn_is_said(self):
        page = text_page([(10, 50, "a")])
        endless = pdf([page]).replace(b"/Count 1 ", b"/Count 3 ")
        cases = {
            "grand": (pdf([page, text_page([], size=(50_000, 100))]), "la page 2 est trop grande pour être dessinée"),
            "nombreux": (pdf([page] * 2_001), "le document a plus de 2000 pages"),
            "annonce": (endless, "la page 2 est absente ou endommagée"),
            "coupe": (pdf([page])[:200], ""),
        }
        for name, (contents, sentence) in cases.items():
            with self.subTest(name):
                self.write(f"{name}.pdf", contents)
                done, = self.json_lines("convert", f"{name}.pdf", "--to", "png", expect=1)
                self.assertEqual(done["state"], "failed")
                self.assertIn(sentence, done["message"])
        self.assertEqual([name for name in self.names() if not name.endswith(".pdf")], [])

    def test_a_page_too_large_for_the_resolution_is_made_smaller_and_it_is_said(self):
        self.write("plan.pdf", pdf([text_page([], size=(5_000, 50))]))
        done = self.convert("plan.pdf", "png", "--dpi", "600")
        self.assertIn("La page 1 est trop grande pour la résolution demandée : elle a été réduite.", done["warnings"])
        width = int.from_bytes((self.folder / "plan.png").read_bytes()[16:20])
        self.assertEqual(width, 20_000)

    def test_passwords(self):
        self.write("open.pdf", pdf([text_page([(72, 700, "lisible")])]))
        for user, owner, state in (("", "owner", "succeeded"), ("secret", "owner", "failed")):
            run("qpdf", "--encrypt", user, owner, "256", "--", self.folder / "open.pdf", self.folder / f"p{user}.pdf")
            done, = self.json_lines("convert", f"p{user}.pdf", "--to", "txt", expect=None)
            self.assertEqual(done["state"], state, done)
        self.assertIn("lisible", (self.folder / "p.txt").read_text())


if __name__ == "__main__":
    unittest.main()
