import hashlib
import os
import pathlib
import re
import subprocess
import time
import unittest

from nivex_case import NivexCase, SAMPLES, interrupt, needs_pictures, subrip
from pictures import run


def ffprobe_cues(path):
    """Start and duration in milliseconds of every cue, as another program reads them."""
    listing = subprocess.run(
        ["ffprobe", "-v", "error", "-show_entries", "packet=pts_time,duration_time", "-of", "csv=p=0", str(path)],
        check=True, capture_output=True, text=True).stdout
    cues = []
    for line in listing.splitlines():
        start, duration = [round(float(value) * 1000) for value in line.split(",")[:2]]
        cues.append((start, duration))
    return cues


def parent_of(process):
    """The number of a process's parent; none when it has ended."""
    try:
        status = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
    except (FileNotFoundError, ProcessLookupError):
        return None
    return None if status[0] == "Z" else int(status[1])


def is_running(process):
    return parent_of(process) is not None


def descendants(process):
    parents = {int(name): parent_of(name) for name in os.listdir("/proc") if name.isdigit()}
    found = {process}
    while True:
        more = {child for child, parent in parents.items() if parent in found} - found
        if not more:
            return sorted(found - {process})
        found |= more


class Convert(NivexCase):
    def sample(self, name):
        return self.write(name, (SAMPLES / name).read_bytes())

    def test_every_target_of_a_styled_subtitle(self):
        self.sample("film.ass")
        plans = self.json_lines("plans", "film.ass")[0]["plans"]
        self.assertEqual([plan["target"] for plan in plans][:3], ["srt", "vtt", "txt"])
        for plan in plans:
            self.assertTrue(plan["warnings"])
            done, = self.json_lines("convert", "film.ass", "--to", plan["target"])
            self.assertEqual((done["state"], done["warnings"]), ("succeeded", plan["warnings"]))
            self.assertEqual(len(done["outputs"]), 1)
            if plan["target"] in ("srt", "vtt"):
                self.assertEqual(ffprobe_cues(self.folder / done["outputs"][0]),
                                 ffprobe_cues(self.folder / "film.ass"))
        self.assertTrue(self.nothing_hidden())

    def test_losses_are_told_before_and_the_result_after(self):
        self.sample("film.ass")
        result = self.run_nivex("convert", "film.ass", "--to", "txt")
        self.assertIn("Les minutages seront supprimés : seul le texte est conservé.", result.stderr.decode())
        self.assertIn("film.txt", result.stdout.decode())
        dry = self.run_nivex("convert", "film.ass", "--to", "vtt", "--dry-run")
        self.assertIn("vtt", dry.stdout.decode())
        self.assertEqual(self.names(), ["film.ass", "film.txt"])

    def test_nothing_is_overwritten_and_the_original_is_untouched(self):
        source = self.write("film.srt", subrip(3))
        before = (source.read_bytes(), source.stat().st_mtime_ns, source.stat().st_ino)
        self.write("film.vtt", "à garder")
        self.write("film 2.vtt", "à garder aussi")
        os.umask(0o022)
        done, = self.json_lines("convert", "film.srt", "--to", "vtt")
        self.assertEqual(os.path.basename(done["outputs"][0]), "film 3.vtt")
        self.assertEqual((self.folder / "film.vtt").read_text(), "à garder")
        self.assertEqual((source.read_bytes(), source.stat().st_mtime_ns, source.stat().st_ino), before)
        self.assertEqual((self.folder / "film 3.vtt").stat().st_mode & 0o777, 0o644)
        self.assertEqual(done["totalBytes"], (self.folder / "film 3.vtt").stat().st_size)

    def test_one_bad_file_does_not_stop_the_others(self):
        self.write("bon.srt", subrip(2))
        self.write("vide.srt", b"")
        self.write("texte.srt", "rien qui ressemble à un sous-titre")
        self.write("deja.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\nOui\n")
        lines = {line["source"]: line for line in
                 self.json_lines("convert", "bon.srt", "vide.srt", "texte.srt", "deja.vtt", "--to", "vtt", expect=1)}
        self.assertEqual(lines["bon.srt"]["state"], "succeeded")
        self.assertEqual(lines["vide.srt"]["message"], "Le fichier est vide.")
        self.assertRegex(lines["texte.srt"]["message"], "aucun sous-titre trouvé|ne correspond pas")
        self.assertRegex(lines["deja.vtt"]["message"], "^Conversion non prise en charge : ")
        self.assertEqual(self.names(), ["bon.srt", "bon.vtt", "deja.vtt", "texte.srt", "vide.srt"])

    @needs_pictures
    def test_options_without_effect_are_said(self):
        self.write("film.srt", subrip(2))
        done, = self.json_lines("convert", "film.srt", "--to", "vtt", "--quality", "0.5")
        self.assertTrue(any("--quality" in warning for warning in done["warnings"]))
        failed, = self.json_lines("convert", "film.srt", "--to", "vtt", "--max-size", "1MB", expect=1)
        self.assertEqual(failed["message"], "Conversion non prise en charge : ce format ne propose pas de poids cible")
        self.sample("soir.jpg")
        told = self.run_nivex("convert", "soir.jpg", "--to", "png", "--remove-background", expect=1).stderr.decode()
        self.assertIn("le retrait de l'arrière-plan n'est pas disponible", told)
        self.assertNotIn("sans effet", told + "".join(failed["warnings"]))

    def test_destinations_that_cannot_be_used(self):
        self.write("film.srt", subrip(2))
        (self.folder / "fermé").mkdir()
        convert = ["convert", "film.srt", "film.srt", "--to", "vtt"]
        self.lose_privileges()
        (self.folder / "fermé").chmod(0o500)
        for folder, message in [("absent/plus loin", "le dossier n'existe plus"), ("film.srt", "ce n'est pas un dossier"),
                                ("fermé", "NIVEX n'a pas le droit d'écrire dans « fermé »"),
                                ("fermé/neuf", "NIVEX n'a pas le droit d'écrire dans « fermé »")]:
            for mode in ([], ["--dry-run"], ["--json"]):
                with self.subTest(folder, mode=mode):
                    result = self.run_nivex(*convert, "--out", folder, *mode, expect=1)
                    self.assertEqual(result.stdout, b"")
                    named = "absent/plus loin : " if "absent" in folder else ""  # which no other word of it tells
                    self.assertEqual(result.stderr.decode(), f"nivex : {named}Le dossier de destination n'est pas "
                                     f"disponible : {message}\n")
        self.assertEqual(self.names(), ["film.srt"])
        self.run_nivex(*convert[:2], "--to", "vtt", "--out", "neuf/", "--dry-run")
        self.assertFalse((self.folder / "neuf").exists())
        self.run_nivex(*convert[:2], "--to", "vtt", "--out", "neuf/")
        self.assertEqual(self.names(), ["film.srt", "neuf/film.vtt"])

    def test_names_at_the_limits(self):
        names = [b"n" * 251 + b".srt", b"\xff\xfe.srt", "é 🎬\nfilm.srt".encode(), b"..srt.srt", b"-x.srt"]
        for name in names:
            (self.folder / os.fsdecode(name)).write_text(subrip(1))
        lines = self.json_lines("convert", "--to", "vtt", "--files-from", "-", "-0", input=b"\0".join(names))
        self.assertEqual([line["state"] for line in lines], ["succeeded"] * 5)
        outputs = [name for name in os.listdir(os.fsencode(self.folder)) if name.endswith(b".vtt")]
        self.assertEqual(len(outputs), 5)
        self.assertTrue(all(len(name) <= 255 for name in outputs))

    def test_a_walked_tree_is_kept_in_the_chosen_folder(self):
        self.write("a/b/1.srt", subrip(1))
        self.write("a/2.srt", subrip(1))
        (self.folder / "sortie").mkdir()
        self.run_nivex("convert", "-r", "a", "--to", "vtt", "--out", "sortie")
        self.assertEqual(self.names("sortie"), ["a/2.vtt", "a/b/1.vtt"])


class Batches(NivexCase):
    def test_a_thousand_equal_names_into_one_folder(self):
        originals = {}
        for i in range(1000):
            path = self.write(f"{i}/film.srt", subrip(1 + i % 5))
            originals[path] = hashlib.sha256(path.read_bytes()).digest()
        (self.folder / "sortie").mkdir()
        lines = self.json_lines("convert", *[f"{i}/film.srt" for i in range(1000)], "--to", "vtt", "--out", "sortie")
        outputs = {line["outputs"][0] for line in lines}
        self.assertEqual((len(lines), len(outputs)), (1000, 1000))
        self.assertEqual({os.path.basename(output) for output in outputs},
                         {"film.vtt"} | {f"film {n}.vtt" for n in range(2, 1001)})
        self.assertEqual(len(self.names("sortie")), 1000)
        self.assertTrue(self.nothing_hidden("sortie"))
        for path, digest in originals.items():
            self.assertEqual(hashlib.sha256(path.read_bytes()).digest(), digest)

    def test_two_processes_into_one_folder_lose_nothing(self):
        for i in range(40):
            self.write(f"{i}/film.srt", subrip(2))
        (self.folder / "sortie").mkdir()
        sources = [f"{i}/film.srt" for i in range(40)]
        processes = [self.start_nivex("convert", *sources, "--to", "vtt", "--out", "sortie") for _ in range(3)]
        for process in processes:
            told = process.communicate(timeout=240)
            self.assertEqual(process.returncode, 0, told)
        self.assertEqual(len(self.names("sortie")), 120)
        for name in self.names("sortie"):
            self.assertTrue((self.folder / "sortie" / name).read_text().startswith("WEBVTT"))
        self.assertTrue(self.nothing_hidden("sortie"))


class Interruption(NivexCase):
    def begin(self):
        """A long batch, interrupted once it has begun to deliver."""
        for i in range(300):
            self.write(f"{i}/film.srt", subrip(3000))
        (self.folder / "sortie").mkdir()
        process = self.start_nivex("convert", "-r", ".", "--to", "vtt", "--out", "sortie", "--jobs", "1")
        while process.poll() is None and len(self.names("sortie")) < 2:
            time.sleep(0.005)
        return process

    def whole(self):
        """What was delivered: a killed run leaves the file at work in its hidden workspace."""
        outputs = [name for name in self.names("sortie") if re.fullmatch(r"([^.][^/]*/)*[^.][^/]*\.vtt", name)]
        return all((self.folder / "sortie" / name).read_text().count("-->") == 3000 for name in outputs)

    def test_ctrl_c_leaves_whole_files_and_nothing_else(self):
        process = self.begin()
        interrupt(process)
        _, told = process.communicate(timeout=120)
        self.assertEqual(process.returncode, 130)
        self.assertIn("Interruption", told.decode())
        self.assertTrue(self.whole())
        self.assertTrue(all(name.endswith(".vtt") for name in self.names("sortie")))
        self.assertLess(len(self.names("sortie")), 300)

    @needs_pictures
    def test_ctrl_c_ends_a_long_picture_at_once(self):
        run("convert", "-size", "4000x3000", "plasma:", "-quality", "90", self.folder / "grand.jpg")
        process = self.start_nivex("convert", "grand.jpg", "--to", "heic", "--quality", "0.95")
        workers = []
        while process.poll() is None and len(workers) < 2:  # the program that forks, and the child that encodes
            time.sleep(0.01)
            workers = descendants(process.pid)
        time.sleep(0.3)
        interrupt(process)
        since = time.monotonic()
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130)
        # A tenth of a second on a machine that does nothing else.
        self.assertLess(time.monotonic() - since, 2)
        self.assertEqual(os.listdir(self.folder), ["grand.jpg"])
        while any(is_running(worker) for worker in workers):
            self.assertLess(time.monotonic() - since, 10)
            time.sleep(0.01)

    def test_the_next_start_removes_what_a_killed_one_left(self):
        process = self.begin()
        process.kill()
        process.communicate()
        self.assertTrue(self.whole())
        for folder in (self.folder / "sortie").rglob("*"):
            if folder.is_dir() and not folder.name.startswith("."):
                (folder / ".gardé").write_text("à moi")
        self.run_nivex("convert", "-r", ".", "--to", "txt", "--out", "sortie")
        left = [name for name in self.names("sortie") if re.search(r"(^|/)\.", name)]
        self.assertTrue(all(name.endswith(".gardé") for name in left), left[:5])


if __name__ == "__main__":
    unittest.main()
