"""How the program behaves in a terminal, in a pipe and over a tree of files."""
import json
import os
import shutil
import subprocess
import unittest

from nivex_case import NivexCase, SAMPLES, subrip
from pictures import run


class Verdicts(NivexCase):
    """What --dry-run says is what the run does."""

    def test_the_dry_run_and_the_run_agree(self):
        run("convert", "-size", "60x40", "plasma:", "-depth", "8", self.folder / "a.png")
        run("convert", "-size", "60x40", "plasma:", self.folder / "b.jpg")
        self.write("c.srt", subrip(1))
        self.write("d.pdf", "rien")
        cases = [
            (["convert", "b.jpg", "--to", "png"], [], None),
            (["convert", "b.jpg", "--to", "png", "--max-size", "1MB"], [], "poids cible"),
            (["convert", "b.jpg", "--to", "png", "--remove-background"], [], "arrière-plan"),
            (["convert", "b.jpg", "--to", "png", "--color-profile", "cmyk"], ["CMJN"], None),
            (["convert", "c.srt", "--to", "vtt", "--dpi", "100"], ["--dpi"], None),
            (["convert", "c.srt", "--to", "png"], [], "aucun moteur"),
            (["convert", "d.pdf", "--to", "png"], [], "PDF"),
            (["convert", "a.png", "--to", "png"], [], "déjà"),
            (["optimize", "b.jpg", "--max-size", "1MB", "--quality", "0.1"], ["identique", "--quality"], None),
            (["optimize", "b.jpg", "--max-size", "1MB", "--remove-background"], [], "arrière-plan"),
            (["optimize", "a.png", "--max-size", "1MB"], [], "poids cible"),
        ]
        for arguments, mentions, failure in cases:
            with self.subTest(arguments):
                planned, = self.json_lines(*arguments, "--dry-run", expect=1 if failure else 0)
                done, = self.json_lines(*arguments, expect=1 if failure else 0)
                for same in ("source", "sourceFormat", "target", "message", "warnings"):
                    self.assertEqual(planned[same], done[same])
                self.assertEqual(set(planned) - set(done), {"plan"})
                self.assertEqual(planned["state"], "failed" if failure else "planned")
                self.assertIn(failure or "", done["message"] or "")
                for mention in mentions:
                    self.assertTrue(any(mention in warning for warning in done["warnings"]), done["warnings"])

    def test_what_already_fits_loses_nothing(self):
        run("convert", "-size", "60x40", "plasma:", self.folder / "b.jpg")
        told = self.run_nivex("optimize", "b.jpg", "--max-size", "1MB")
        self.assertNotIn("perte", told.stderr.decode())
        self.assertIn("0 %", told.stdout.decode())
        self.assertEqual((self.folder / "b 2.jpg").read_bytes(), (self.folder / "b.jpg").read_bytes())

    def test_what_recipes_and_preferences_ask_in_vain_stops_nothing(self):
        run("convert", "-size", "60x40", "plasma:", self.folder / "b.jpg")
        self.run_nivex("recipe", "new", "r.json", "--to", "png", "--max-size", "1MB", "--remove-background",
                       "--color-profile", "cmyk")
        told = self.run_nivex("recipe", "run", "r.json", "b.jpg").stderr.decode()
        self.assertIn("Le poids cible nécessite", told)
        done, = self.json_lines("convert", "b.jpg", "--recipe", "r.json")
        self.assertEqual((done["state"], len(done["warnings"])), ("succeeded", 3))

        preferences = self.home / "config/NIVEX/Preferences.json"
        preferences.parent.mkdir(parents=True, exist_ok=True)
        preferences.write_text(json.dumps({"options": {
            "maxFileBytes": 1_000_000, "removeBackground": True, "videoCodec": "hevc", "quality": 0.5}}))
        done, = self.json_lines("convert", "b.jpg", "--to", "png")
        self.assertEqual(done["state"], "succeeded")
        self.assertEqual([w for w in done["warnings"] if "hevc" in w or "codec" in w], [])
        self.assertEqual(len(done["warnings"]), 2, done["warnings"])


class Trees(NivexCase):
    def setUp(self):
        super().setUp()
        for name in ("t/1.srt", "t/sous/2.srt"):
            self.write(name, subrip(1))
        self.write("t/notes.md", "# Titre\n")
        self.write("t/outil", b"\x7fELF\2\1\1" + bytes(60))
        self.write("t/faux.srt", "")
        os.symlink("nulle part", self.folder / "t/lien.srt")

    def test_what_nobody_asked_for_is_no_failure(self):
        result = self.run_nivex("convert", "-r", "t", "--to", "vtt", "--out", "o", expect=1)
        told = result.stderr.decode()
        self.assertEqual(told.count("2 fichier(s) laissé(s) de côté"), 1, told)
        self.assertIn("« t/lien.srt » ne mène nulle part", told)
        self.assertIn("t/faux.srt : Le fichier est vide.", told)  # might have been a subtitle
        self.assertIn("2 fichiers convertis en VTT", told)
        self.assertIn("1 en échec", told)
        self.assertEqual(self.names("o"), ["t/1.vtt", "t/sous/2.vtt"])

        (self.folder / "t/faux.srt").unlink()
        again = self.run_nivex("convert", "-r", "t", "--to", "vtt", "--out", "o", "--skip-existing").stderr.decode()
        self.assertIn("2 déjà là", again)
        self.assertEqual(self.names("o"), ["t/1.vtt", "t/sous/2.vtt"])

    def test_a_tree_without_anything_to_do_is_said(self):
        (self.folder / "vide").mkdir()
        for command in (["convert", "-r", "vide", "--to", "vtt"], ["optimize", "-r", "vide", "--max-size", "1MB"]):
            self.assertIn("Aucun fichier à traiter.", self.run_nivex(*command, expect=1).stderr.decode())
        self.assertIn("laissé(s) de côté", self.run_nivex("convert", "-r", "t/sous", "--to", "png", expect=1)
                      .stderr.decode())

    def test_a_deep_tree_takes_memory_in_proportion(self):
        here = os.open(self.folder, os.O_RDONLY)
        for level in range(1900):
            os.mkdir("d", dir_fd=here)
            deeper = os.open("d", os.O_RDONLY, dir_fd=here)
            os.close(here)
            here = deeper
            if level % 10 == 0:
                os.close(os.open("f.srt", os.O_CREAT | os.O_WRONLY, dir_fd=here))
        os.close(here)
        try:
            result = subprocess.run(["/usr/bin/env", "time", "-f", "%M", self.program, "identify", "-r", "d"],
                                    cwd=self.folder, capture_output=True,
                                    env=self.environment | {"ASAN_OPTIONS": "quarantine_size_mb=1"})
            self.assertEqual(result.stdout.count("Le fichier est vide.".encode()), 190)
            self.assertLess(int(result.stderr.split()[-1]), 400_000, "kibibytes, with a sanitizer's own")
        finally:
            subprocess.run(["rm", "-rf", self.folder / "d"], check=True)


class Places(NivexCase):
    def test_the_name_of_a_single_result(self):
        source = self.write("film.srt", subrip(1))
        os.utime(source, (1_000_000_000, 1_000_000_000))
        self.run_nivex("convert", "film.srt", "-o", "autre.vtt", "--keep-dates")
        self.assertEqual((self.folder / "autre.vtt").stat().st_mtime, 1_000_000_000)
        told = self.run_nivex("convert", "film.srt", "-o", "autre.vtt").stderr.decode()
        self.assertIn("« autre.vtt » existe déjà et reste tel quel ; le résultat s'appelle « autre 2.vtt ».", told)
        self.run_nivex("convert", "film.srt", "-o", "sans", "--to", "txt")
        for arguments in (["film.srt", "film.srt", "-o", "a.vtt"], ["film.srt", "-o", "x", "--out", "y", "--to", "vtt"],
                          ["film.srt", "-o", "x"], ["-r", ".", "-o", "x.vtt"], ["-", "--to", "vtt"],
                          ["film.srt", "-", "-o", "x.vtt"], ["film.srt", "--to", "vtt", "-o", "-", "--json"]):
            with self.subTest(arguments):
                self.run_nivex("convert", *arguments, expect=2)
        self.run_nivex("convert", "film.srt", "-o", "absent/a.vtt", expect=1)
        self.assertEqual(self.names(), ["autre 2.vtt", "autre.vtt", "film.srt", "sans"])

    def test_pipes(self):
        cues = subrip(2)
        through = self.run_nivex("convert", "-", "--to", "vtt", "-o", "-", input=cues.encode())
        self.assertTrue(through.stdout.startswith(b"WEBVTT"))
        self.write("film.srt", cues)
        self.assertEqual(self.run_nivex("convert", "film.srt", "--to", "vtt", "-o", "-").stdout, through.stdout)
        self.run_nivex("convert", "-", "-o", "la.vtt", input=cues.encode())
        self.assertEqual((self.folder / "la.vtt").read_bytes(), through.stdout)
        failed = self.run_nivex("convert", "-", "--to", "vtt", "-o", "-", input=b"", expect=1)
        self.assertEqual(failed.stdout, b"")
        self.assertIn("- : Le fichier est vide.", failed.stderr.decode())
        self.assertEqual([line["sourceName"] for line in self.json_lines("history")], [])

        read, named = self.json_lines("identify", "-", "film.srt", input=cues.encode())
        self.assertEqual((read["path"], read["format"], read["declaredFormat"]), ("-", "srt", None))
        self.assertEqual(named["path"], "film.srt")
        self.assertEqual(self.json_lines("plans", "-", input=cues.encode())[0]["path"], "-")
        for twice in (["-", "-"], ["-", "--files-from", "-"]):
            self.run_nivex("identify", *twice, expect=2)

    def test_what_went_wrong_is_said_twice(self):
        self.write("cut.png", b"\x89PNG\r\n\x1a\n" + bytes(40))
        issue, = self.json_lines("identify", "cut.png", expect=1)[0]["issues"]
        self.assertEqual(issue["cause"], "IEND not in the last 48 bytes")
        for arguments in (["identify", "cut.png"], ["convert", "cut.png", "--to", "jpeg"]):
            told = self.run_nivex(*arguments, expect=1)
            self.assertNotIn(issue["cause"], (told.stdout + told.stderr).decode(), "who did not ask is not bothered")
            told = self.run_nivex(*arguments, "--verbose", expect=1)
            self.assertIn(f"[{issue['cause']}]", (told.stdout + told.stderr).decode())
        self.assertEqual(self.json_lines("convert", "cut.png", "--to", "jpeg", expect=1)[0]["cause"], issue["cause"])

        run("convert", "-size", "60x40", "plasma:", self.folder / "whole.png")
        data = bytearray((self.folder / "whole.png").read_bytes())
        data[data.rindex(b"IEND") - 5] ^= 1  # in the checksum of what comes before
        data[data.rindex(b"IDAT") + 40] ^= 1
        self.write("changed.png", bytes(data))
        cause = self.json_lines("convert", "changed.png", "--to", "jpeg", expect=1)[0]["cause"]
        self.assertRegex(cause, "IDAT|filter|incorrect", "the words of the library that met it")

    def test_what_an_engine_leaves_out_is_said(self):
        self.write("film.srt", subrip(1) + "Mots perdus\n")
        told = self.run_nivex("convert", "film.srt", "--to", "vtt").stderr.decode()
        self.assertIn("film.srt : Une ligne du fichier", told)
        done, = self.json_lines("convert", "film.srt", "--to", "txt")
        self.assertEqual(len(done["warnings"]), 2, "what was announced, and what was found")
        self.assertEqual([len(entry.get("warnings", [])) for entry in self.json_lines("history")], [1, 1])


class Shells(NivexCase):
    def test_bash_completes_what_is_parsed(self):
        self.write("completion.bash", self.run_nivex("completion", "bash").stdout)
        self.write("photo d'été.png", "")
        (self.folder / "dossier").mkdir()

        def completions(*words):
            script = 'source completion.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _nivex; printf "%s\\n" "${COMPREPLY[@]}"'
            return subprocess.run(["bash", "-c", "compopt() { :; }; " + script, "bash", *words], cwd=self.folder,
                                  capture_output=True, check=True, text=True).stdout.split("\n")[:-1]
        self.assertEqual(completions("nivex", "con"), ["convert"])
        self.assertEqual(completions("nivex", "recipe", "ex"), ["export"])
        self.assertEqual(sorted(completions("nivex", "convert", "--to", "web")), ["webm", "webp"])
        self.assertEqual(completions("nivex", "convert", "photo"), ["photo d'été.png"])
        self.assertEqual(completions("nivex", "convert", "a.png", "--out", ""), ["dossier"])
        self.assertEqual(completions("nivex", "convert", "--metadata", ""), ["keep", "removeLocation", "removeAll"])
        self.assertEqual(completions("nivex", "convert", "--jobs", ""), [""], "a number is nobody's to guess")
        self.assertEqual(completions("nivex", "history", "retention", "--h"), ["--help"])
        self.assertIn("--recipe", completions("nivex", "convert", "--re"))

    def test_other_shells_and_man_understand_what_they_are_given(self):
        for name, script, check in (("zsh", ["completion", "zsh"], ["zsh", "-n"]),
                                    ("fish", ["completion", "fish"], ["fish", "--no-execute"]),
                                    ("groff", ["manual"], ["groff", "-man", "-Kutf8", "-Tutf8", "-ww", "-z"])):
            with self.subTest(name):
                if not shutil.which(name):
                    self.skipTest(f"no {name} here")
                file = self.write(name, self.run_nivex(*script).stdout)
                told = subprocess.run([*check, file], capture_output=True, text=True)
                self.assertEqual((told.returncode, told.stderr), (0, ""))
        self.run_nivex("completion", expect=2)
        self.run_nivex("completion", "csh", expect=2)


class Streams(NivexCase):
    def test_a_reader_that_leaves_is_no_error(self):
        for arguments in (["formats"], ["identify", "--files-from", "liste"]):
            self.write("liste", "absent\n" * 3000)
            process = subprocess.Popen([self.program, *arguments], cwd=self.folder, env=self.environment,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            process.stdout.readline()
            process.stdout.close()
            with process.stderr as stderr:
                self.assertEqual(stderr.read(), b"")
            self.assertLess(process.wait(), 2)

    def test_a_file_that_may_grow_no_further_is_an_error(self):
        self.write("film.srt", subrip(5000))
        result = subprocess.run(["bash", "-c", 'ulimit -f 64; exec "$@"', "-", self.program, "convert", "film.srt", "--to",
                                 "vtt"], cwd=self.folder, env=self.environment, capture_output=True)
        self.assertEqual(result.returncode, 1, result.stderr.decode())
        self.assertIn("film.srt : ", result.stderr.decode())
        self.assertEqual(self.names(), ["film.srt"])

    def test_the_summary_counts(self):
        for name in ("a.srt", "b.srt"):
            self.write(name, subrip(1))
        told = self.run_nivex("convert", "a.srt", "b.srt", "absent.srt", "--to", "vtt", expect=1).stderr.decode()
        self.assertRegex(told.splitlines()[-1],
                         r"^2 fichiers convertis en VTT · 90 o → \d+ o \(.*\) · 1 en échec · \d+,\d s$")
        quiet = self.run_nivex("convert", "a.srt", "--to", "vtt", "--quiet")
        self.assertEqual(quiet.stderr, b"")


if __name__ == "__main__":
    unittest.main()
