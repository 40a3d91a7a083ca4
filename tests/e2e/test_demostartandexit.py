"""Starts the interactive demo on a virtual display, and closes it with the keyboard or a signal.
Usage: test_demostartandexit.py <kvtool-demo>"""

import os
import pathlib
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
TIMEOUT_S = 60
# The order in which Shift+Tab moves the focus without a device. Tab would stop at each section of the clock.
REVERSE_TAB_ORDER = ["serialPorts", "updateFirmwareButton", "buttonShowGraph", "unitTemperature", "unit",
         "exportLocalMeasurementsButton", "connectButton"]


def wait_until(condition, what):
    end = time.monotonic() + TIMEOUT_S
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"timed out: {what}")
        time.sleep(0.02)


class DemoStartAndExit(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        read, write = os.pipe()
        cls.display = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24",
                                        "-noreset"], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            # The platform plugin's OpenGL library leaks, which the sanitizers would report at the exit; and the
            # plugin warns when a window is closed during a request to the window manager.
            cls.environment = {**os.environ, "DISPLAY": f":{number.readline().strip()}",
                               "QT_XCB_GL_INTEGRATION": "none",
                               "QT_LOGGING_RULES": "qt.qpa.xcb.warning=false"}
        cls.environment.pop("QT_QPA_PLATFORM", None)
        # After the first key press on a display the window manager grabs its shortcuts again, and a key that is
        # pressed meanwhile is lost. So the first key is pressed before the window manager starts.
        subprocess.run(["xdotool", "key", "Shift_L"], env=cls.environment, timeout=TIMEOUT_S, check=True)
        # On Alt+F4 it asks the window to close.
        cls.manager = subprocess.Popen(["openbox", "--startup", "echo ready"], env=cls.environment,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        while cls.manager.stdout.readline() not in ("ready\n", ""):
            pass

    @classmethod
    def tearDownClass(cls):
        for process in cls.manager, cls.display:
            process.terminate()
            process.wait()
        cls.manager.stdout.close()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.output, self.temporary, runtime = (self.root / name for name in ("output", "tmp", "runtime"))
        self.temporary.mkdir()
        runtime.mkdir(mode=0o700)
        self.errors = open(self.root / "errors", "w+")
        self.addCleanup(self.errors.close)
        self.user_environment = {**self.environment, "TMPDIR": str(self.temporary), "XDG_RUNTIME_DIR": str(runtime)}
        self.demo = self.start_demo()
        self.output_lines = [self.demo.stdout.readline() for _ in range(2)]
        self.wait_and_press("KV Tool")
        children = pathlib.Path(f"/proc/{self.demo.pid}/task/{self.demo.pid}/children").read_text().split()
        self.simulators = [int(child) for child in children]

    def start_demo(self):
        # In a new session: a signal to the process group reaches the simulator too, as Ctrl+C does.
        demo = subprocess.Popen([sys.argv[1], "--output", self.output], cwd=SOURCES, text=True,
                                start_new_session=True, stdout=subprocess.PIPE, stderr=self.errors,
                                env=self.user_environment)
        self.addCleanup(demo.stdout.close)
        self.addCleanup(self.kill, demo)
        return demo

    @staticmethod
    def kill(demo):
        if demo.poll() is None:
            os.killpg(demo.pid, signal.SIGKILL)
            demo.wait()

    def wait_and_press(self, title, *keys):
        """Waits until the window with this title has the focus, then presses the keys."""
        wait_until(lambda: self.xdotool("getwindowfocus", "getwindowname") == title, title)
        if keys:
            self.xdotool("key", *keys)

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, timeout=TIMEOUT_S,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout.strip()

    def press(self, button):
        self.wait_and_press("KV Tool", *["shift+Tab"] * REVERSE_TAB_ORDER.index(button), "space")

    def stored_readings(self):
        store = sqlite3.connect(f"file:{self.output}/measurements.db?mode=ro", uri=True)
        try:
            return store.execute("select count(*) from measurement_metadata").fetchone()[0]
        finally:
            store.close()

    def connect(self):
        before = self.stored_readings()
        self.press("connectButton")
        wait_until(lambda: self.stored_readings() > before, "a reading in the database")

    def check_clean_exit(self):
        remaining_output, _ = self.demo.communicate(timeout=TIMEOUT_S)
        self.errors.seek(0)
        self.assertEqual((self.demo.returncode, remaining_output, self.errors.read()), (0, "", ""))
        self.assertEqual(len(self.simulators), 1)
        wait_until(lambda: not pathlib.Path(f"/proc/{self.simulators[0]}").exists(), "the simulator's exit")
        self.assertEqual([*self.temporary.iterdir()], [])
        self.assertEqual([*self.output.glob("*-journal"), *self.output.glob("*.lock")], [])
        locks = [lock for lock in pathlib.Path("/var/lock").glob("LCK..*")
                 if lock.read_text().split()[:1] == [str(self.demo.pid)]]
        self.assertEqual(locks, [])

    def test_prints_the_next_step_and_the_output_folder(self):
        self.assertIn("press Connect", self.output_lines[0])
        self.assertTrue(self.output_lines[1].endswith(f" {self.output}\n"), self.output_lines)
        self.assertTrue((self.output / "measurements.db").is_file())
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_exit()

    def test_exits_on_ctrl_c_while_connected(self):
        self.connect()
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_exit()

    def test_sigterm_for_the_demo_alone_stops_the_simulator_too(self):
        self.connect()
        self.demo.send_signal(signal.SIGTERM)
        self.check_clean_exit()

    def test_exits_on_ctrl_c_while_a_dialog_is_open(self):
        self.press("exportLocalMeasurementsButton")
        self.wait_and_press("Select measurements to export")
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_exit()

    def test_exits_when_the_window_is_closed(self):
        self.connect()
        self.wait_and_press("KV Tool", "alt+F4")
        self.check_clean_exit()

    def test_second_demo_in_the_same_folder_is_rejected(self):
        second = self.start_demo()
        self.wait_and_press("KV Tool Demo", "Return")
        self.assertEqual((second.wait(timeout=TIMEOUT_S), second.stdout.read()), (1, ""))
        self.connect()
        self.wait_and_press("KV Tool", "alt+F4")
        self.check_clean_exit()

    def test_demo_starts_in_the_folder_of_a_killed_one(self):
        self.kill(self.demo)
        self.demo = self.start_demo()
        self.assertIn("press Connect", self.demo.stdout.readline())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
