"""The window, driven by its keyboard and as an assistive technology does."""
import json
import unittest

import accessible
from window_case import WindowCase, wait_for


class Windows(WindowCase):
    def history(self):
        file = self.home / ".local/share/NIVEX/History.json"
        return json.loads(file.read_text()) if file.exists() else []

    def preferences(self):
        file = self.home / ".config/NIVEX/Preferences.json"
        return json.loads(file.read_text()) if file.exists() else {}

    def test_a_target_chosen_by_keyboard_stands_beside_the_original(self):
        source = self.sample("film.srt")
        before = source.read_bytes()
        self.open(source)
        first, second = (each.get_name() for each in self.wait_for_bubbles()[:2])
        self.press("Right", "ctrl+Return")
        entry = wait_for(self.history, "the conversion")[0]
        self.assertEqual(entry["status"], "succeeded")
        results = [each for each in self.files.iterdir() if each != source]
        self.assertEqual([str(each) for each in results], entry["outputPaths"])
        self.assertEqual(source.read_bytes(), before)
        self.assertNotEqual(first, second)
        self.assertEqual(entry["targetFormat"], {"WebVTT": "vtt", "TXT": "txt"}.get(second, second.lower()))

    def test_a_file_that_cannot_be_used_says_why_and_leaves_the_others_their_way(self):
        broken = self.files / "broken.png"
        broken.write_bytes(b"\x89PNG\r\n\x1a\n broken")
        self.open(broken, self.sample("film.srt"))
        self.wait_for_bubbles()
        texts = [each.get_name() for each in accessible.all_below(self.tree())]
        self.assertTrue(any(text.startswith("Le fichier semble endommagé") for text in texts), texts)
        self.assertIn("2 fichiers · 1 laissé de côté", texts)

    def test_a_setting_holds_at_once_and_after_a_restart(self):
        program = self.open()
        self.press("ctrl+5")
        language = wait_for(lambda: accessible.find(self.tree(), "combo box", "Français"), "the language")
        language.get_component_iface().grab_focus()
        self.press("Down")
        wait_for(lambda: accessible.find(self.tree(), "check box", "Convert"), "the window in English")
        self.assertEqual(self.preferences()["language"], "en")
        self.press("ctrl+q")
        self.assertEqual(program.wait(), 0)
        self.open()
        wait_for(lambda: accessible.find(self.tree(), "push button", "Choose files…"), "English again")

    def test_every_control_has_a_name_and_can_be_worked_without_a_mouse(self):
        self.open(self.sample("film.srt"), self.sample("soir.jpg"))
        wait_for(lambda: accessible.find(self.tree(), "check box", "Convertir"), "the window")
        for place in range(1, 6):
            self.press(f"ctrl+{place}")
            wait_for(lambda: self.place_at_hand() == place, f"place {place}")
            for each in accessible.all_below(self.tree()):
                if each.get_role_name() not in accessible.CONTROLS:
                    continue
                with self.subTest(place=place, role=each.get_role_name(), name=each.get_name()):
                    self.assertTrue(each.get_name() or accessible.label_of(each))
                    self.assertTrue(accessible.takes_keyboard(each) or each.get_role_name() == "slider")

    def tree(self):
        return wait_for(lambda: accessible.application("NIVEX"), "the tree of the program")

    def place_at_hand(self):
        places = [each for each in accessible.all_below(self.tree())
                  if each.get_name() in ("Convertir", "Travaux", "Historique", "Raccourcis", "Réglages")
                  and each.get_role_name() in ("check box", "radio button")]
        return next((i + 1 for i, each in enumerate(places) if accessible.is_checked(each)), None)

    def wait_for_bubbles(self):
        def bubbles():
            return [each for each in accessible.all_below(self.tree())
                    if each.get_role_name() in ("check box", "radio button") and "\n" in each.get_description()]
        return wait_for(bubbles, "what the files can become")


if __name__ == "__main__":
    unittest.main()
