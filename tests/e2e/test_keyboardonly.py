#!/usr/bin/env python3
"""Starts the built program on the current display and ends it with the keyboard only.

Usage: test_keyboardonly.py KVTOOL [TEST...]    (needs xdotool, and a window manager that closes by Alt+F4)
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
KVTOOL = str(pathlib.Path(sys.argv.pop(1)).resolve()) if len(sys.argv) > 1 else sys.exit(__doc__)
DEADLINE_S = 60
MAIN_WINDOW = "KV Tool"
BOX = "Kv tool"
FOLDER_DIALOG = "Choose where to store measurements"


def xdotool(*arguments):
    result = subprocess.run(("xdotool",) + arguments, stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, timeout=DEADLINE_S, check=False)
    return result.stdout.decode().split("\n")[:-1]


class KeyboardOnly(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in ("home", "config", "runtime", "work"):
            (self.root / name).mkdir(mode=0o700)
        sample = (SOURCES / "settings.xml").read_bytes()
        (self.root / "work/settings.xml").write_bytes(sample)

    def start(self, home="home"):
        """Starts the program with a home in the test's folder and no other folder of the user's."""
        folders = {"HOME": home, "XDG_DATA_HOME": home + "/data", "XDG_CONFIG_HOME": "config",
                   "XDG_CACHE_HOME": home + "/cache", "XDG_RUNTIME_DIR": "runtime"}
        environment = {**os.environ, "QT_QPA_PLATFORM": "xcb",
                       "LSAN_OPTIONS": f"suppressions={SOURCES}/tests/kit/lsan.supp"}
        environment.update((name, str(self.root / path)) for name, path in folders.items())
        with open(self.root / "log", "wb") as log:
            self.program = subprocess.Popen([KVTOOL], cwd=self.root / "work", env=environment,
                                            stderr=log)
        self.addCleanup(self.program.wait)
        self.addCleanup(self.program.kill)

    def windows(self):
        """The titles of the program's visible windows, and their numbers."""
        found = xdotool("search", "--onlyvisible", "--pid", str(self.program.pid))
        return {"".join(xdotool("getwindowname", number)): number for number in found}

    def press(self, title, key):
        """Presses a key in the window with this title, and waits until it has closed."""
        number = self.wait_for(lambda: self.windows().get(title), title)
        xdotool("windowactivate", "--sync", number)
        xdotool("key", key)
        self.wait_for(lambda: number not in self.windows().values(), f"the end of {title}")

    def wait_for(self, condition, what):
        deadline = time.monotonic() + DEADLINE_S
        while time.monotonic() < deadline:
            result = condition()
            if result:
                return result
            time.sleep(0.05)
        return self.fail(f"waited for {what}, saw {self.windows()}")

    def assert_ends_well(self):
        code = self.program.wait(DEADLINE_S)
        self.assertEqual(code, 0, (self.root / "log").read_text())

    def test_closed_window_ends_the_program(self):
        self.start()
        self.press(MAIN_WINDOW, "alt+F4")
        self.assert_ends_well()
        self.assertTrue((self.root / "home/measurements.db").exists())

    def test_box_before_the_window_closes_by_its_frame_too(self):
        (self.root / "work/settings.xml").unlink()
        self.start()
        self.press(BOX, "alt+F4")
        self.press(MAIN_WINDOW, "alt+F4")
        self.assert_ends_well()

    def test_cancelled_folder_dialog_ends_without_a_window(self):
        (self.root / "file").touch()
        self.start(home="file/home")
        self.press(BOX, "Return")
        self.press(FOLDER_DIALOG, "Escape")
        self.assertNotIn(MAIN_WINDOW, self.windows())
        self.press(BOX, "Return")
        self.assert_ends_well()


if __name__ == "__main__":
    unittest.main()
