"""Starts the program with windows in a display and a session bus of its own, and drives it from outside."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

PROGRAM = os.environ["NIVEX_DESKTOP_PROGRAM"]
SAMPLES = pathlib.Path(os.environ["NIVEX_SAMPLES"])
PATIENCE = 60  # seconds; nothing is judged by it


def wait_for(condition, what):
    """What `condition` gives, once that is true."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if found := condition():
            return found
        time.sleep(0.05)
    raise AssertionError(f"waited in vain for {what}")


class WindowCase(unittest.TestCase):
    """A display with a window manager and a session bus for all tests of a class, as the library that asks for the
    accessible tree stays on the first bus it finds; a home for each test."""

    @classmethod
    def setUpClass(cls):
        cls.environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                           "ASAN_OPTIONS": "detect_leaks=0"}  # of the toolkit and what it loads
        folder = tempfile.mkdtemp(prefix="nivex-desktop-")
        cls.addClassCleanup(shutil.rmtree, folder, ignore_errors=True)
        cls.environment["XDG_RUNTIME_DIR"] = folder
        display = cls.start(["Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp",
                             "-noreset"],
                            cls.addClassCleanup, stdout=subprocess.PIPE, text=True)
        cls.environment["DISPLAY"] = ":" + display.stdout.readline().strip()
        bus = cls.start(["dbus-daemon", "--session", "--print-address", "--nofork"],
                        cls.addClassCleanup, stdout=subprocess.PIPE, text=True)
        cls.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        cls.start_window_manager()
        os.environ.update({each: cls.environment[each] for each in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")})

    @classmethod
    def start_window_manager(cls):
        """Again where it did not find the display, as it sometimes does not while the machine is busy."""
        managers = []

        def is_there():
            if not managers or managers[-1].poll() is not None:
                managers.append(cls.start(["openbox"], cls.addClassCleanup, stdout=subprocess.DEVNULL))
            return cls.tool("get_num_desktops").strip()

        wait_for(is_there, "the window manager")

    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="nivex-desktop-"))
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        self.files = self.home / "files"
        self.files.mkdir()
        self.environment["HOME"] = str(self.home)

    @classmethod
    def start(cls, command, add_cleanup, **settings):
        process = subprocess.Popen(command, env=cls.environment, stderr=subprocess.DEVNULL, **settings)
        add_cleanup(cls.stop, process)
        return process

    @staticmethod
    def stop(process):
        process.terminate()
        process.wait()
        if process.stdout:
            process.stdout.close()

    def sample(self, name):
        """A copy of a sample in the test's own folder."""
        return pathlib.Path(shutil.copy(SAMPLES / name, self.files))

    def open(self, *files):
        """The running program, once its window is there and has the keyboard."""
        program = self.start([PROGRAM, *map(str, files)], self.addCleanup)
        window = wait_for(lambda: self.tool("search", "--onlyvisible", "--name", "^NIVEX$"), "the window").split()[0]
        wait_for(lambda: self.tool("getactivewindow").strip() == window, "the keyboard")
        return program

    @classmethod
    def tool(cls, *arguments):
        return subprocess.run(["xdotool", *arguments], env=cls.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def press(self, *keys):
        for key in keys:
            self.tool("key", key)

    def file(self, name):
        """The file of that name, once it stands in the test's folder."""
        path = self.files / name
        wait_for(path.exists, name)
        return path
