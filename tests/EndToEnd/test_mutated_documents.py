"""Damaged, cut and forged documents: each is a plain French failure or a whole result, and nothing is left behind."""
import subprocess
import unittest
import zipfile

from mutations import MutationCase
from test_documents import EVERYTHING

TARGETS = ("html", "docx", "pdf", "md", "epub", "txt")


class Mutants(MutationCase):
    def unopened(self, shown):
        return [name for name, path in shown.items()
                if path.suffix == ".docx" and zipfile.ZipFile(path).testzip() is not None]

    def seeds(self):
        (self.folder / "a.md").write_text(EVERYTHING)
        subprocess.run(["pandoc", "a.md", "-s", "-o", "a.docx"], check=True, cwd=self.folder)
        subprocess.run(["pandoc", "a.md", "-s", "-o", "a.html"], check=True, cwd=self.folder)
        # Stored, so that mutations reach the words and not only what they were packed into.
        with zipfile.ZipFile(self.folder / "a.docx") as packed, zipfile.ZipFile(self.folder / "b.docx", "w") as stored:
            for name in packed.namelist():
                stored.writestr(name, packed.read(name))
        subprocess.run(["pandoc", "a.md", "-s", "-o", "a.epub"], check=True, cwd=self.folder)
        names = {"docx": ("a.docx", "b.docx"), "epub": ("a.epub",), "html": ("a.html",), "md": ("a.md",)}
        return {of: [(name, (self.folder / name).read_bytes()) for name in each] for of, each in names.items()}

    def test_mutants_fail_plainly_or_convert_whole(self):
        seeds = self.seeds()
        offered = self.targets_of("native-document")
        self.convert_mutants(seeds, {of: [target for target in TARGETS if target in offered[of]] for of in seeds},
                             self.unopened)


if __name__ == "__main__":
    unittest.main()
