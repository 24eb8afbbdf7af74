"""What the end-to-end tests share: a folder of their own, and the program run in it."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["NIVEX_PROGRAM"]
SAMPLES = pathlib.Path(os.environ["NIVEX_SAMPLES"])

needs_pictures = unittest.skipIf(os.environ.get("NIVEX_WORKERS") == "OFF", "built without the worker programs")


def subrip(cues):
    """A SubRip file of so many cues."""
    def clock(seconds):
        return f"{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02},500"
    return "".join(f"{i + 1}\n{clock(3 * i)} --> {clock(3 * i + 2)}\nRéplique {i + 1}\n\n" for i in range(cues))


class NivexCase(unittest.TestCase):
    program = PROGRAM
    user = None  # the one who runs the tests

    def lose_privileges(self):
        """From here on the program runs as an ordinary user: permissions do not stop root."""
        if os.geteuid() != 0:
            return
        self.user = 65534  # nobody
        self.program = shutil.copy(PROGRAM, self.home / "nivex")
        for folder in (self.folder, self.home, *self.folder.rglob("*")):
            os.chown(folder, self.user, self.user)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="nivex-test-"))
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="nivex-home-"))
        self.environment = os.environ | {
            "HOME": str(self.home), "XDG_DATA_HOME": str(self.home / "data"),
            "XDG_CONFIG_HOME": str(self.home / "config")}

    def tearDown(self):
        for folder in (self.folder, self.home):
            for each in [folder, *folder.rglob("*")]:
                if each.is_dir() and not each.is_symlink():
                    each.chmod(0o700)
            shutil.rmtree(folder)

    def write(self, name, contents):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(contents if isinstance(contents, bytes) else contents.encode())
        return path

    def run_nivex(self, *arguments, expect=0, input=None):
        """Runs one call and checks its exit status, unless `expect` is None; a sanitizer's report would show in standard
        error."""
        result = subprocess.run([self.program, *arguments], cwd=self.folder, env=self.environment, input=input,
                                capture_output=True, timeout=240, user=self.user)
        told = result.stdout.decode(errors="replace") + result.stderr.decode(errors="replace")
        if expect is not None:
            self.assertEqual(result.returncode, expect, told)
        self.assertNotIn("Sanitizer", told)
        return result

    def json_lines(self, *arguments, expect=0, input=None):
        result = self.run_nivex(*arguments, "--json", expect=expect, input=input)
        return [json.loads(line) for line in result.stdout.decode().splitlines()]

    def start_nivex(self, *arguments):
        return subprocess.Popen([PROGRAM, *arguments], cwd=self.folder, env=self.environment,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def names(self, folder="."):
        """Every file below a folder of the test's, hidden ones included."""
        root = self.folder / folder
        # os.walk passes over folders that go away meanwhile.
        return sorted(str(pathlib.Path(base, name).relative_to(root))
                      for base, _, names in os.walk(root) for name in names)

    def nothing_hidden(self, folder="."):
        return not [name for name in os.listdir(self.folder / folder) if name.startswith(".")]


def interrupt(process):
    process.send_signal(signal.SIGINT)
