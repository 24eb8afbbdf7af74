"""Places where programs are run and that are not a person's desktop: containers, odd folders."""
import ctypes
import pathlib
import shutil
import struct
import subprocess
import unittest

from nivex_case import NivexCase, PROGRAM, SAMPLES, needs_pictures

SANITIZED = b"__asan_init" in pathlib.Path(PROGRAM).read_bytes()
LANDLOCK = 444  # its first call, on every architecture
IN_NAMESPACE = ["unshare", "--user", "--map-root-user"]


def works(*command):
    return shutil.which(command[0]) and subprocess.run([*command, "true"], capture_output=True).returncode == 0


def without_call(number):
    """Makes the kernel deny, to this process and all that it starts, that it has a call."""
    no_new_privileges, filter_calls, allowed, not_there = 38, 22, 0x7FFF0000, 0x00050026
    code = [(0x20, 0, 0, 0), (0x15, 0, 1, number), (0x06, 0, 0, not_there), (0x06, 0, 0, allowed)]
    instructions = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *each) for each in code))
    library = ctypes.CDLL(None)
    library.prctl(no_new_privileges, 1, 0, 0, 0)
    if library.prctl(filter_calls, 2, struct.pack("HxxxxxxP", len(code), ctypes.addressof(instructions)), 0, 0) != 0:
        raise OSError("no filter of calls")


def having_mounted(what, where):
    return [*IN_NAMESPACE, "--mount", "sh", "-c", f'mount -t tmpfs {what} none {where} && exec "$@"', "sh"]


@needs_pictures
class Surroundings(NivexCase):
    def setUp(self):
        super().setUp()
        self.source = self.write("picture.jpg", (SAMPLES / "soir.jpg").read_bytes())

    def test_a_kernel_without_a_required_layer(self):
        """The command that was asked for names the layer, not only the doctor."""
        result = subprocess.run([self.program, "convert", str(self.source), "--to", "png"], env=self.environment,
                                capture_output=True, cwd=self.folder, preexec_fn=lambda: without_call(LANDLOCK))
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("Accès aux fichiers (Landlock)", (result.stdout + result.stderr).decode())
        self.assertEqual(list(self.folder.glob("*.png")), [])

    def converts(self, *wrapper, **how):
        command = [*wrapper, self.program, "convert", str(self.source), "--to", "png", "--out", str(self.folder)]
        result = subprocess.run(command, env=self.environment, capture_output=True, cwd=self.folder, **how)
        self.assertEqual(result.returncode, 0, result.stderr.decode())
        made = list(self.folder.glob("*.png"))
        self.assertEqual([each.read_bytes()[:4] for each in made], [b"\x89PNG"])

    def test_an_ordinary_user(self):
        self.lose_privileges()
        if self.user is None:
            return  # every other test is run by one
        shutil.copytree(pathlib.Path(PROGRAM).parent / "workers", self.home / "workers")
        self.converts(user=self.user, group=self.user)

    def test_a_user_namespace(self):
        if not works(*IN_NAMESPACE):
            self.skipTest("no user namespaces here")
        self.converts(*IN_NAMESPACE)

    def test_a_temporary_folder_where_nothing_may_be_executed(self):
        if not works(*IN_NAMESPACE):
            self.skipTest("no user namespaces here")
        self.environment["TMPDIR"] = "/mnt"
        self.converts(*having_mounted("-o noexec,nosuid,nodev", "/mnt"))

    @unittest.skipIf(SANITIZED, "the sanitizers cannot do without /proc")
    def test_without_proc(self):
        if not works(*IN_NAMESPACE):
            self.skipTest("no user namespaces here")
        self.converts(*having_mounted("", "/proc"))

    def test_bubblewrap(self):
        wrapper = ["bwrap", "--dev-bind", "/", "/", "--unshare-all", "--die-with-parent", "--proc", "/proc"]
        if not works(*wrapper):
            self.skipTest("no bubblewrap here")
        self.converts(*wrapper)


if __name__ == "__main__":
    unittest.main()
