import base64
import json
import os
import shutil
import unittest

from nivex_case import NivexCase, needs_pictures, subrip
from pictures import run


class Identify(NivexCase):
    def only(self, path, expect=0):
        lines = self.json_lines("identify", os.fsencode(path), expect=expect)
        self.assertEqual(len(lines), 1)
        return lines[0]

    def test_content_decides_over_the_name(self):
        self.write("film.srt", subrip(3))
        self.write("film.pdf", subrip(3))
        self.write("film", subrip(3))

        right, wrong, bare = self.json_lines("identify", "film.srt", "film.pdf", "film")

        self.assertEqual((right["format"], right["declaredFormat"], right["issues"]), ("srt", "srt", []))
        self.assertEqual((wrong["format"], wrong["declaredFormat"], wrong["usable"]), ("srt", "pdf", True))
        self.assertEqual([(issue["message"], issue["blocking"]) for issue in wrong["issues"]],
                         [("L'extension indique PDF, mais le contenu est d'un autre format.", False)])
        self.assertEqual((bare["format"], bare["declaredFormat"]), ("srt", None))

    def test_each_refusal_has_its_sentence(self):
        self.write("vide.srt", b"")
        self.write("prog", b"\x7fELF\2\1\1" + bytes(60))
        self.write("faux.png", "ceci n'est pas une image")
        self.write("secret.srt", subrip(1)).chmod(0)
        (self.folder / "dossier").mkdir()
        os.mkfifo(self.folder / "tube")
        cases = {
            "vide.srt": ("empty", "Le fichier est vide."),
            "absent.srt": ("unreadable", "Le fichier ne peut pas être lu (introuvable ou inaccessible)."),
            "dossier": ("directory",
                        "Les dossiers ne sont pas encore pris en charge : déposez les fichiers qu'il contient."),
            "prog": ("executable", "NIVEX ne convertit pas les programmes et ne les exécute jamais."),
            "faux.png": ("contentDoesNotMatch", "Le contenu ne correspond pas à un fichier PNG valide."),
            "tube": ("unreadable", None),
            "secret.srt": ("unreadable", None),
        }
        self.lose_privileges()
        for name, (case, message) in cases.items():
            with self.subTest(name):
                line = self.only(name, expect=1)
                self.assertFalse(line["usable"])
                blocking = [issue for issue in line["issues"] if issue["blocking"]]
                self.assertEqual(blocking[0]["case"], case)
                if message:
                    self.assertEqual(blocking[0]["message"], message)

    def test_a_file_too_large_is_refused_without_being_read(self):
        with open(self.folder / "grand.srt", "wb") as file:
            file.truncate(4_294_967_297)
        self.assertEqual(self.only("grand.srt", expect=1)["issues"][0]["case"], "tooLarge")

    def test_any_name_that_the_file_system_holds_works(self):
        names = [b"-tiret.srt", "é 🎬\nfilm.srt".encode(), b"\xff\xfe.srt", b"x" * 251 + b".srt", b"[liste,]"]
        for name in names:
            (self.folder / os.fsdecode(name)).write_text(subrip(1))
        lines = self.json_lines("identify", "--files-from", "-", "-0", input=b"\0".join(names))

        self.assertEqual([line["format"] for line in lines], ["srt"] * 5)
        self.assertEqual(base64.b64decode(lines[2]["pathBytes"]), names[2])
        self.assertNotIn("pathBytes", lines[1])
        self.run_nivex("identify", names[4], "--", *names[:4])

    def test_folders_are_walked_without_what_is_hidden(self):
        for name in ("a/b/1.srt", "a/2.srt", "a/.secret/3.srt", "a/.4.srt"):
            self.write(name, subrip(1))
        os.symlink("..", self.folder / "a" / "b" / "boucle")
        lines = self.json_lines("identify", "-r", "a")
        self.assertEqual([line["path"] for line in lines], ["a/2.srt", "a/b/1.srt"])


class HostileNames(NivexCase):
    """Names that would paint the terminal, write lines of their own or read backwards."""

    NAME = "a\x1b[31m\n\x9b2J\u2028\u202egpj\u2066"

    def shown(self, result):
        """What a person reads of a call, which must steer nothing."""
        told = (result.stdout + result.stderr).decode()
        self.assertNotRegex(told, "[\x00-\x09\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u206f]")
        return told

    def test_they_are_shown_and_never_obeyed(self):
        source, damaged = self.NAME + ".srt", "b" + self.NAME + ".pdf\x1b[1m"
        self.write(source, subrip(1))
        self.write(damaged, "%PDF-1.4")
        self.write("raccourci\x1b.json", "{}")
        calls = [
            (["identify", source], 0), (["identify", damaged], 0), (["plans", source], 0), (["plans", damaged], None),
            (["convert", source, damaged, "--to", "vtt", "--dry-run"], 1),
            (["convert", source, damaged, "--to", "vtt"], 1), (["history"], 0),
            (["convert", source, "--to", self.NAME], 2), (["convert", source, "--" + self.NAME], 2),
            (["convert", source, "--to", "vtt", "--quality", self.NAME], 2),
            (["formats", self.NAME], 2), ([self.NAME], 2), (["identify", "--files-from", self.NAME], 1),
            (["recipe", "check", "raccourci\x1b.json"], 1), (["recipe", "check", self.NAME], 1),
            (["recipe", "new", self.NAME + ".json", "--to", "vtt", "--name", self.NAME], 1),
            (["recipe", "new", self.NAME + ".json", "--to", "vtt", "--name", "sain"], 0),
        ]
        for arguments, status in calls:
            with self.subTest(arguments):
                self.assertNotEqual(self.shown(self.run_nivex(*arguments, expect=status)), "")

    def test_programs_get_them_exactly(self):
        source = self.NAME + ".srt"
        self.write(source, subrip(1))
        for arguments in (["identify", source], ["plans", source], ["convert", source, "--to", "vtt"], ["history"]):
            with self.subTest(arguments):
                result = self.run_nivex(*arguments, "--json")
                self.shown(result)
                line = json.loads(result.stdout)
                self.assertIn(source, [line.get("path"), line.get("source"), line.get("sourceName")])

    def test_bytes_that_are_no_text_stand_beside(self):
        name = b"\xff\xfe/film.srt"
        self.write(os.fsdecode(name), subrip(1))

        def bytes_of(arguments, member):
            return self.json_lines(*arguments)[0][member]

        name_as_given = os.fsdecode(name)
        self.assertEqual(base64.b64decode(bytes_of(["plans", name_as_given], "pathBytes")), name)
        convert = ["convert", name_as_given, "--to", "vtt"]
        self.assertEqual(base64.b64decode(bytes_of(convert + ["--dry-run"], "sourceBytes")), name)
        done, = self.json_lines(*convert)
        self.assertEqual(base64.b64decode(done["sourceBytes"]), name)
        output, = [base64.b64decode(each) for each in done["outputBytes"]]
        self.assertTrue((self.folder / os.fsdecode(output)).is_file())
        entry, = self.json_lines("history")
        self.assertEqual(base64.b64decode(entry["sourcePathBytes"]), os.fsencode(self.folder) + b"/" + name)
        self.assertTrue(base64.b64decode(entry["outputPathsBytes"][0]).endswith(output))


class WrongUsage(NivexCase):
    def test_one_french_line_and_status_two(self):
        self.write("film.srt", subrip(1))
        cases = [
            (["idntify", "film.srt"], "« identify »"),
            (["identify", "--jsno", "film.srt"], "« --json »"),
            (["convert", "film.srt", "--to", "vvt"], "« vtt »"),
            (["convert", "film.srt", "vtt"], "--to vtt ?"),
            (["convert", "film.srt", "--to", "vtt", "--to", "txt"], "plusieurs fois"),
            (["convert", "film.srt", "--to", "vtt", "--quality", "80"], "« 80 » (0..1)"),
            (["convert", "film.srt", "-o", "."], "--out"),
            (["help", "convrt"], "« convert »"),
            (["formats", "--family", "son"], "audio"),
            (["history", "retention", "7"], "sevenDays"),
            (["convert", "film.srt"], "--to"),
            (["convert", "film.srt", "--to"], "--to"),
            (["convert", "film.srt", "--to", "vtt", "--quality", "1.01"], "Qualité invalide."),
            (["convert", "film.srt", "--to", "vtt", "--dpi", "nan"], "ppp"),
            (["convert", "film.srt", "--to", "vtt", "--max-size", "2XB"], "--max-size"),
            (["convert", "film.srt", "--to", "vtt", "--metadata", "garder"], "removeLocation"),
            (["convert", "film.srt", "--to", "vtt", "--jobs", "0"], "--jobs"),
            (["formats", "--family", "vidéo"], "« video »"),
            (["identify"], "fichier"),
            ([], "commande"),
        ]
        for arguments, mention in cases:
            with self.subTest(arguments):
                result = self.run_nivex(*arguments, expect=2)
                self.assertEqual(result.stdout, b"")
                told = result.stderr.decode()
                self.assertIn(mention, told)
                self.assertEqual(told.count("\n"), 1)
        self.assertEqual(self.names(), ["film.srt"])


class Lists(NivexCase):
    @needs_pictures
    def test_catalogue_and_engines(self):
        formats = self.json_lines("formats")
        self.assertEqual(len(formats), 203)
        self.assertEqual(len({each["id"] for each in formats}), 203)
        engines = self.json_lines("engines")
        self.assertEqual(len(engines), 12)
        self.assertEqual(engines[5]["id"], "native-subtitle")
        self.assertTrue(engines[5]["available"])
        for engine in engines:
            self.assertEqual(engine["available"], engine["reason"] is None)
            self.assertEqual(engine["available"], bool(engine["edges"]))

    def test_results_that_cannot_be_written_are_an_error(self):
        with open("/dev/full", "wb") as full:
            import subprocess
            from nivex_case import PROGRAM
            result = subprocess.run([PROGRAM, "formats"], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, 1)
        self.assertIn("résultats", result.stderr.decode())


class Deep(NivexCase):
    """What the decoders add to what the headers tell."""

    @needs_pictures
    def test_a_picture_is_opened_by_its_decoder(self):
        run("convert", "-size", "30x20", "xc:red", "-size", "30x20", "xc:blue", self.folder / "pages.tiff")
        plain, = self.json_lines("identify", "pages.tiff")
        deep, = self.json_lines("identify", "--deep", "pages.tiff")
        self.assertEqual(deep["properties"], plain["properties"] | {"decoderTypeIdentifier": "public.tiff"})
        self.assertEqual((deep["confidence"], deep["usable"]), ("verified", True))

    @needs_pictures
    def test_damage_behind_a_whole_header_is_found(self):
        run("convert", "-size", "30x20", "plasma:", self.folder / "whole.gif")
        data = bytearray((self.folder / "whole.gif").read_bytes())
        palette = 3 << ((data[10] & 7) + 1)
        data[data.index(b",", 13 + palette) + 10] = 99  # bits of a code, of which there are 12 at most
        self.write("damaged.gif", bytes(data))
        self.assertTrue(self.json_lines("identify", "damaged.gif")[0]["usable"])
        deep, = self.json_lines("identify", "--deep", "damaged.gif", expect=1)
        self.assertEqual([issue["case"] for issue in deep["issues"]], ["corrupted"])
        self.assertIn("endommagé", deep["issues"][0]["message"])

    def test_without_worker_programs_the_headers_remain(self):
        run("convert", "-size", "30x20", "xc:red", self.folder / "a.png")
        self.program = shutil.copy(self.program, self.home / "nivex")
        plain, = self.json_lines("identify", "a.png")
        self.assertEqual(self.json_lines("identify", "--deep", "a.png"), [plain])
        self.assertTrue(plain["usable"])


if __name__ == "__main__":
    unittest.main()
