#!/usr/bin/env python3
"""Starts the built program on the current display, and uses and closes it with the keyboard only.

Usage: test_keyboardonly.py KVTOOL [TEST...]    (needs xdotool, and a window manager that closes windows on Alt+F4)
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
TIMEOUT_S = 60
MAIN_WINDOW = "KV Tool"
MESSAGE_BOX = "Kv tool"
FOLDER_DIALOG = "Choose where to store measurements"


def xdotool(*arguments):
    result = subprocess.run(("xdotool",) + arguments, stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, timeout=TIMEOUT_S, check=False)
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
        """Starts the program with home and settings in the test's folder instead of the user's."""
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
        """Returns the ids of the program's visible windows by title."""
        found = xdotool("search", "--onlyvisible", "--pid", str(self.program.pid))
        return {"".join(xdotool("getwindowname", window_id)): window_id for window_id in found}

    def press(self, title, key):
        """Presses a key in the window with this title, and waits until it has closed."""
        window_id = self.wait_for(lambda: self.windows().get(title), title)
        xdotool("windowactivate", "--sync", window_id)
        xdotool("key", key)
        self.wait_for(lambda: window_id not in self.windows().values(), f"{title} to close")

    def wait_for(self, condition, what):
        deadline = time.monotonic() + TIMEOUT_S
        while time.monotonic() < deadline:
            result = condition()
            if result:
                return result
            time.sleep(0.05)
        return self.fail(f"waited for {what}, saw {self.windows()}")

    def check_clean_exit(self):
        code = self.program.wait(TIMEOUT_S)
        self.assertEqual(code, 0, (self.root / "log").read_text())

    def test_exits_when_the_window_is_closed(self):
        self.start()
        self.press(MAIN_WINDOW, "alt+F4")
        self.check_clean_exit()
        self.assertTrue((self.root / "home/measurements.db").exists())

    def test_alt_f4_closes_the_message_box_before_the_window(self):
        (self.root / "work/settings.xml").unlink()
        self.start()
        self.press(MESSAGE_BOX, "alt+F4")
        self.press(MAIN_WINDOW, "alt+F4")
        self.check_clean_exit()

    def test_exits_without_a_window_when_the_folder_dialog_is_cancelled(self):
        (self.root / "file").touch()
        self.start(home="file/home")
        self.press(MESSAGE_BOX, "Return")
        self.press(FOLDER_DIALOG, "Escape")
        self.assertNotIn(MAIN_WINDOW, self.windows())
        self.press(MESSAGE_BOX, "Return")
        self.check_clean_exit()


if __name__ == "__main__":
    unittest.main()
