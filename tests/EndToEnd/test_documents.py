"""Documents, judged by another program."""
import io
import json
import re
import subprocess
import unittest
import zipfile

from nivex_case import SAMPLES, NivexCase, needs_pictures

EVERYTHING = """---
title: Rapport d'été
author: Zoé
---

# Titre *un*

Du **gras**, de l'*italique*, du `code` et [un lien](https://exemple.fr/a?b=1&c=2).

- un
- deux
  1. premier
  2. second

> Citation

| a | b |
|---|--:|
| 1 | é |

```
code  aligné
```

## Titre deux

Fin.
"""


def pandoc(file, to="native", of=None):
    return subprocess.run(["pandoc", *(["-f", of] if of else []), "-t", to, "--wrap=none", str(file)], check=True,
                          capture_output=True, text=True).stdout


def structure(node):
    """The kinds of blocks and inlines of a document, and its words, in their order."""
    if isinstance(node, dict):
        kind = node.get("t")
        if kind == "Str":
            return [node["c"]]
        if kind in ("Space", "SoftBreak", "Plain", "Para"):
            kind = None
        inner = structure(node.get("c", []))
        return ([kind] if kind else []) + inner
    if isinstance(node, list):
        return [each for part in node for each in structure(part)]
    return []


@needs_pictures
class Documents(NivexCase):
    def convert(self, name, target, *options):
        done, = self.json_lines("convert", name, "--to", target, "--out", target, *options)
        self.assertEqual(done["state"], "succeeded", done)
        return self.folder / done["outputs"][0]

    def refused(self, name, sentence, target="html"):
        done, = self.json_lines("convert", name, "--to", target, "--out", "refused", expect=1)
        self.assertIn(sentence, done["message"])

    def blocks(self, file, of=None):
        return structure(json.loads(pandoc(file, "json", of))["blocks"])

    def test_structure_survives_every_format_that_has_it(self):
        self.write("a.md", EVERYTHING)
        wanted = self.blocks(self.folder / "a.md")
        for target in ("html", "docx", "epub"):
            with self.subTest(target):
                result = self.convert("a.md", target)
                again = self.convert(str(result.relative_to(self.folder)), "md")
                self.assertEqual(self.blocks(again, "gfm+yaml_metadata_block"), self.blocks(self.folder / "a.md", "gfm+yaml_metadata_block"))
                seen = self.blocks(result)
                for kind in ("BulletList", "OrderedList", "Table", "BlockQuote", "Emph", "Link"):
                    self.assertEqual(seen.count(kind), wanted.count(kind), kind)
                self.assertEqual(seen.count("Header"), 2)

    def test_words_of_a_document_with_everything_of_word(self):
        subprocess.run(["pandoc", "-o", self.folder / "notes.docx"], check=True, text=True,
                       input="Un[^1] mot.\n\n[^1]: Une **note**.\n\nH~2~O, x^2^\n\n  Colonne   Deux\n  --------- ------\n  un        b\n")
        text = self.convert("notes.docx", "txt").read_text()
        self.assertEqual(text.split(), ["Un[1]", "mot.", "H2O,", "x2", "Colonne", "Deux", "un", "b", "[1]", "Une", "note."])
        markdown = self.convert("notes.docx", "md").read_text()
        self.assertIn("H<sub>2</sub>O, x<sup>2</sup>", markdown)
        again = self.convert("md/" + "notes.md", "docx")
        self.assertIn("Une", pandoc(again, "plain"))

    def test_pictures_travel_untouched(self):
        picture = (SAMPLES / "soir.jpg").read_bytes()
        self.write("a.jpg", picture)
        self.write("a.md", "![Un soir](a.jpg)\n")
        subprocess.run(["pandoc", "a.md", "-o", "a.docx"], check=True, cwd=self.folder)
        html = self.convert("a.docx", "html")
        self.assertIn("data:image/jpeg;base64,", html.read_text())
        again = self.convert("html/a.html", "docx")
        with zipfile.ZipFile(again) as archive:
            media, = [name for name in archive.namelist() if name.startswith("word/media/")]
            self.assertEqual(archive.read(media), picture)

    def test_pages_hold_text_links_bookmarks_and_marks(self):
        rows = "".join(f"| ligne {i} | {'mot ' * 30}|\n" for i in range(60))
        self.write("a.md", EVERYTHING + "\n| tête | b |\n|---|---|\n" + rows + "\n[haut](#début) <a id='début'></a>là\n")
        result = self.convert("a.md", "pdf")
        subprocess.run(["qpdf", "--check", str(result)], check=True, capture_output=True)
        text = subprocess.run(["pdftotext", str(result), "-"], check=True, capture_output=True, text=True).stdout
        for word in ("Titre un", "Citation", "code  aligné", "2. second", "ligne 59"):
            self.assertIn(re.sub(r"\s+", "", word), re.sub(r"\s+", "", text))
        self.assertGreater(text.count("tête"), 1, "the head of a table stands on each of its pages")
        info = subprocess.run(["pdfinfo", str(result)], check=True, capture_output=True, text=True).stdout
        self.assertRegex(info, r"Title:\s+Rapport d'été")
        whole = json.loads(subprocess.run(["qpdf", "--json=1", str(result)], check=True, capture_output=True).stdout)
        first, = whole["outlines"]
        self.assertEqual((first["title"], [each["title"] for each in first["kids"]]), ("Titre un", ["Titre deux"]))
        self.assertIn("https://exemple.fr/a?b=1&c=2", json.dumps(whole["objects"]))
        kinds = {each["/S"] for each in whole["objects"].values()
                 if isinstance(each, dict) and each.get("/Type") == "/StructElem"}
        self.assertGreaterEqual(kinds, {"/P", "/H1", "/H2", "/TD", "/TH", "/Code"})
        fonts = subprocess.run(["pdffonts", str(result)], check=True, capture_output=True, text=True).stdout
        for line in fonts.splitlines()[2:]:
            self.assertEqual(line.split()[-5:-2], ["yes", "yes", "yes"], "embedded, a subset, and with its characters")

    def test_a_picture_is_on_its_page_as_it_was(self):
        self.write("a.jpg", (SAMPLES / "soir.jpg").read_bytes())
        self.write("a.md", "![Un soir](a.jpg)\n")
        subprocess.run(["pandoc", "a.md", "-o", "a.docx"], check=True, cwd=self.folder)
        result = self.convert("a.docx", "pdf")
        subprocess.run(["pdfimages", "-j", str(result), str(self.folder / "found")], check=True)
        self.assertEqual((self.folder / "found-000.jpg").read_bytes(), (SAMPLES / "soir.jpg").read_bytes())

    def test_a_book_has_its_chapters_contents_and_pictures(self):
        self.write("a.jpg", (SAMPLES / "soir.jpg").read_bytes())
        self.write("a.md", "# Un\n\n[loin](#deux)\n\n![Un soir](a.jpg)\n\n# Deux\n\nMot[^1].\n\n[^1]: Une note.\n")
        subprocess.run(["pandoc", "a.md", "-o", "b.docx"], check=True, cwd=self.folder)
        book = self.convert("b.docx", "epub")
        with zipfile.ZipFile(book) as archive:
            first = archive.infolist()[0]
            self.assertEqual((first.filename, first.compress_type, archive.read("mimetype")),
                             ("mimetype", zipfile.ZIP_STORED, b"application/epub+zip"))
            for name in archive.namelist():
                if name.endswith((".xhtml", ".opf", ".xml")):
                    subprocess.run(["xmllint", "--noout", "-"], input=archive.read(name), check=True)
            self.assertEqual(archive.read("image1.jpg"), (SAMPLES / "soir.jpg").read_bytes())
            self.assertIn("chapter2.xhtml#", archive.read("chapter1.xhtml").decode())
            self.assertEqual(re.findall(r">([^<]+)</a></li>", archive.read("contents.xhtml").decode()), ["Un", "Deux"])
        again = self.convert("epub/b.epub", "docx")
        self.assertEqual(pandoc(again, "plain").split()[:2], ["Un", "loin"])
        with zipfile.ZipFile(again) as archive:
            self.assertIn("word/media/image1.jpg", archive.namelist())

    def test_other_programs_open_what_is_written(self):
        self.write("a.md", EVERYTHING)
        result = self.convert("a.md", "docx")
        with zipfile.ZipFile(result) as archive:
            self.assertIsNone(archive.testzip())
            for name in archive.namelist():
                if name.endswith((".xml", ".rels")):
                    subprocess.run(["xmllint", "--noout", "-"], input=archive.read(name), check=True)

    def test_what_a_document_cannot_keep_is_said(self):
        self.write("a.md", EVERYTHING)
        line, = self.json_lines("convert", "a.md", "--to", "docx", "--dry-run")
        self.assertEqual(line["plan"]["losses"], [])
        line, = self.json_lines("convert", "a.md", "--to", "txt", "--dry-run")
        self.assertEqual(sorted(line["plan"]["losses"]), ["formatting", "layout"])

    def archive(self, **parts):
        file = io.BytesIO()
        with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, contents in parts.items():
                archive.writestr(name.replace("__", "/").replace("_xml", ".xml"), contents)
        return file.getvalue()

    def test_bad_documents_end_in_a_sentence(self):
        types = '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"/>'
        space = 'xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"'
        bomb = "<!DOCTYPE x [<!ENTITY a \"aaaaaaaaaa\">" + "".join(
            f"<!ENTITY {b} \"{'&' + a + ';' :s}{'&' + a + ';' :s}\">" for a, b in zip("abcdefgh", "bcdefghi")) + "]>"
        rows = {
            "broken.docx": ({"word__document_xml": f"<w:document {space}><w:body>"}, "endommagé"),
            "other.docx": ({"word__document_xml": "<html/>"}, "ce n'est pas un document Word"),
        }
        for name, (parts, sentence) in rows.items():
            with self.subTest(name):
                self.write(name, self.archive(**{"[Content_Types]_xml": types}, **parts))
                self.refused(name, sentence)
        self.write("bomb.docx", self.archive(**{
            "[Content_Types]_xml": types,
            "word__document_xml": bomb + f"<w:document {space}><w:body><w:p><w:r><w:t>mot &i;</w:t></w:r></w:p></w:body></w:document>"}))
        self.assertLess(len(self.convert("bomb.docx", "txt").read_text()), 100)
        self.write("deep.docx", self.archive(**{
            "[Content_Types]_xml": types,
            "word__document_xml": f"<w:document {space}><w:body>" + "<w:sdt><w:sdtContent>" * 20_000 +
                                  "</w:sdtContent></w:sdt>" * 20_000 +
                                  "<w:p><w:r><w:t>mot</w:t></w:r></w:p></w:body></w:document>"}))
        self.assertEqual(self.convert("deep.docx", "txt").read_text(), "mot\n")
        self.write("empty.md", "<!-- rien -->\n")
        self.refused("empty.md", "ce document ne contient aucun texte", "txt")
        self.write("deep.html", "<html>" + "<div>" * 20_000)
        self.refused("deep.html", "données imbriquées sur plus de", "docx")


if __name__ == "__main__":
    unittest.main()
