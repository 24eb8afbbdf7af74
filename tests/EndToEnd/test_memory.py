"""What NIVEX remembers and repeats: history, recipes, preferences."""
import json
import os
import unittest

from nivex_case import NivexCase, subrip


class History(NivexCase):
    def test_what_became_of_each_file_newest_first(self):
        self.write("bon.srt", subrip(2))
        self.write("mauvais.srt", "1\n00:00:01,000 --> 00:00:61,000\nnon\n")
        self.run_nivex("convert", "bon.srt", "--to", "vtt")
        self.run_nivex("convert", "mauvais.srt", "--to", "vtt", expect=1)

        failed, succeeded = self.json_lines("history")
        self.assertEqual((succeeded["status"], failed["status"]), ("succeeded", "failed"))
        self.assertEqual(succeeded["sourcePath"], str(self.folder / "bon.srt"))
        self.assertEqual(succeeded["outputPaths"], [str(self.folder / "bon.vtt")])
        self.assertEqual(succeeded["outputBytes"], (self.folder / "bon.vtt").stat().st_size)
        self.assertIn("aucun sous-titre trouvé", failed["message"])
        self.assertEqual(len(self.json_lines("history", "--limit", "1")), 1)
        self.assertIn("mauvais.srt", self.run_nivex("history").stdout.decode())
        self.run_nivex("history", "clear")
        self.assertEqual(self.json_lines("history"), [])

    def test_nothing_is_kept_when_nothing_shall_be(self):
        self.write("film.srt", subrip(2))
        self.assertIn("Ne pas conserver", self.run_nivex("history", "retention", "off").stdout.decode())
        self.run_nivex("convert", "film.srt", "--to", "vtt")
        self.assertEqual(self.json_lines("history"), [])
        self.run_nivex("history", "retention", "toujours", expect=2)

    def test_two_programs_at_once_lose_no_entry(self):
        for i in range(30):
            self.write(f"{i}.srt", subrip(1))
        programs = [self.start_nivex("convert", f"{i}.srt", "--to", "vtt") for i in range(30)]
        for program in programs:
            program.communicate(timeout=240)
        self.assertEqual({entry["sourceName"] for entry in self.json_lines("history")},
                         {f"{i}.srt" for i in range(30)})

    def test_a_damaged_history_is_set_aside_not_lost(self):
        history = self.home / "data" / "NIVEX" / "History.json"
        history.parent.mkdir(parents=True)
        history.write_text("[{")
        self.write("film.srt", subrip(1))
        self.run_nivex("convert", "film.srt", "--to", "vtt")
        self.assertEqual(len(json.loads(history.read_text())), 1)
        aside = [name for name in os.listdir(history.parent) if name.startswith("History") and name != "History.json"
                 and (history.parent / name).read_text() == "[{"]
        self.assertEqual(len(aside), 1)


class Recipes(NivexCase):
    def make(self, *arguments, expect=0):
        return self.run_nivex("recipe", "new", "r.json", "--name", "Sous-titres", "--to", "vtt", *arguments,
                              expect=expect)

    def test_a_recipe_edited_by_hand_runs_with_its_conditions(self):
        self.make("--if-format", "ass", "--reset-defaults")
        text = (self.folder / "r.json").read_text()
        self.assertIn('"resetDefaults" : {}', text)
        recipe = json.loads(text)
        recipe["steps"][1] = {"sourceFormat": {"_0": "srt"}}
        recipe["steps"].append({"resize": {"_0": 2048}})
        self.write("r.json", json.dumps(recipe))
        self.write("a.srt", subrip(2))
        self.write("b.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\nOui\n")

        result = self.run_nivex("convert", "--recipe", "r.json", "a.srt", "b.vtt")
        told = result.stderr.decode()
        self.assertIn("1 fichier(s) écarté(s) par les conditions. Les originaux sont conservés.", told)
        self.assertIn("Ces blocs ne sont pas appliqués par cette conversion : ", told)
        self.assertEqual(self.names(), ["a.srt", "a.vtt", "b.vtt", "r.json"])
        none = self.run_nivex("recipe", "run", "r.json", "b.vtt", expect=1)
        self.assertIn("Aucun fichier ne correspond aux conditions du raccourci.", none.stderr.decode())

    def test_what_is_no_recipe_is_refused_and_nothing_written(self):
        cases = {
            "": "",
            "{": "",
            "[" * 5000: "",
            " " * 65_537: "Ce fichier de raccourci est trop volumineux.",
            '{"id":"8CB1F0FB-2F93-44B8-9B15-8E7CCF03A74A","name":"n","steps":[],"version":2}':
                "Nom ou nombre de blocs invalide.",
            '{"id":"8CB1F0FB-2F93-44B8-9B15-8E7CCF03A74A","name":"n","steps":[{"resize":{"_0":2048}}],"version":2}':
                "Ajoutez un bloc de conversion.",
            '{"id":"8CB1F0FB-2F93-44B8-9B15-8E7CCF03A74A","name":"n","steps":[{"convert":{"_0":"png"}}],"version":3}':
                "Cette version du raccourci n’est pas prise en charge.",
        }
        for text, message in cases.items():
            with self.subTest(text[:40]):
                self.write("r.json", text)
                for command in (["check"], ["import"], ["run"]):
                    told = self.run_nivex("recipe", *command, "r.json", *(["r.json"] if command == ["run"] else []),
                                          expect=1).stderr.decode()
                    self.assertIn(message, told)
                    self.assertEqual(told.count("\n"), 1, told)
        self.assertEqual(self.json_lines("recipe", "list"), [])
        self.run_nivex("recipe", "check", "absent.json", expect=1)

    def test_kept_recipes_are_found_by_name_and_never_overwrite(self):
        self.make()
        self.make(expect=1)
        self.run_nivex("recipe", "import", "r.json")
        self.run_nivex("recipe", "import", "r.json")
        kept, = self.json_lines("recipe", "list")
        self.assertEqual((kept["name"], kept["target"]), ("Sous-titres", "vtt"))
        self.run_nivex("recipe", "export", "Sous-titres", "copie.json")
        self.assertEqual((self.folder / "copie.json").read_text(), (self.folder / "r.json").read_text())
        self.run_nivex("recipe", "export", "Sous-titres", "copie.json", expect=1)
        self.write("film.srt", subrip(1))
        self.run_nivex("recipe", "run", "Sous-titres", "film.srt")
        self.assertTrue((self.folder / "film.vtt").exists())


class Language(NivexCase):
    def test_french_whatever_the_locale_unless_english_is_asked_for(self):
        self.environment["LANG"] = "en_US.UTF-8"
        self.assertIn("introuvable", self.run_nivex("identify", "absent", expect=1).stdout.decode())
        self.environment["NIVEX_LANG"] = "en"
        self.assertIn("not found", self.run_nivex("identify", "absent", expect=1).stdout.decode())


class Doctor(NivexCase):
    def test_it_tells_the_state_of_the_machine(self):
        report, = self.json_lines("doctor")
        self.assertEqual(len(report["engines"]), 12)
        self.assertTrue(report["sandbox"])
        self.assertTrue(report["folders"]["data"].startswith(str(self.home)))
        self.assertEqual(report["leftovers"], [])

    def test_it_names_what_a_killed_run_left_and_nobody_can_remove(self):
        self.write("ici/film.srt", subrip(1))
        removed, held = (self.folder / "ici" / f".nivex-0F8FAD5B-D9CB-469F-A165-70867728950{end}" for end in "EF")
        removed.mkdir()
        self.write(held / "image.png", "half")
        self.lose_privileges()
        held.chmod(0)
        self.run_nivex("convert", "ici/film.srt", "--to", "vtt")
        report, = self.json_lines("doctor")
        held.chmod(0o700)
        self.assertEqual(report["leftovers"], [{"path": str(held)}])
        self.assertFalse(removed.exists())


if __name__ == "__main__":
    unittest.main()
