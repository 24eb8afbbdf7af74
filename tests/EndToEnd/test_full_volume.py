"""What happens when a volume has no room left: a small one in memory, mounted where nobody else sees it."""
import json
import subprocess
import unittest

from nivex_case import NivexCase

MOUNTED = ["unshare", "--map-root-user", "--mount", "sh", "-c",
           'mount -t tmpfs -o size=600k none small && cp photo.jpg small && cd small && "$@"; '
           'code=$?; ls -A >&2; exit $code', "sh"]


class FullVolume(NivexCase):
    def setUp(self):
        super().setUp()
        (self.folder / "small").mkdir()
        subprocess.run(["convert", "-size", "500x400", "plasma:red-blue", "-quality", "90", self.folder / "photo.jpg"],
                       check=True)
        if self.on_small_volume("true").returncode != 0:
            self.skipTest("this machine lets nobody mount a volume")

    def on_small_volume(self, *command):
        return subprocess.run([*MOUNTED, *command], cwd=self.folder, env=self.environment | {"TMPDIR": "."},
                              capture_output=True, text=True)

    def test_the_user_learns_why_and_nothing_is_left(self):
        for target in ("png", "bmp", "exr", "psd"):
            with self.subTest(target):
                done = self.on_small_volume(self.program, "convert", "--json", "photo.jpg", "--to", target)
                self.assertEqual(done.returncode, 1, done.stderr)
                self.assertEqual(json.loads(done.stdout)["message"], "L'écriture du nouveau fichier a échoué : "
                                 "il n'y a plus assez d'espace sur le volume")
                self.assertEqual([name for name in done.stderr.splitlines() if target in name], [])


if __name__ == "__main__":
    unittest.main()
