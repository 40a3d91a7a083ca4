"""How the interactive demo starts and ends, with the keyboard on a virtual display and by signals.
Usage: test_demostartandend.py <kvtool-demo>"""

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
# In the order of Shift+Tab without a device. In the other direction each section of the clock takes a Tab.
STOPS = ["serialPorts", "updateFirmwareButton", "buttonShowGraph", "unitTemperature", "unit",
         "exportLocalMeasurementsButton", "connectButton"]


def wait_until(condition, what):
    end = time.monotonic() + TIMEOUT_S
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"timed out: {what}")
        time.sleep(0.02)


class DemoStartAndEnd(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        read, write = os.pipe()
        cls.display = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24",
                                        "-noreset"], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            # The platform's OpenGL library leaks, which the sanitizers would report at the end; and the
            # platform warns of windows that closed during a request to the window manager.
            cls.environment = {**os.environ, "DISPLAY": f":{number.readline().strip()}",
                               "QT_XCB_GL_INTEGRATION": "none",
                               "QT_LOGGING_RULES": "qt.qpa.xcb.warning=false"}
        cls.environment.pop("QT_QPA_PLATFORM", None)
        # At the first key of a display the window manager grabs its own keys again, and one that is
        # pressed meanwhile is lost: so the first one is sent before it starts.
        subprocess.run(["xdotool", "key", "Shift_L"], env=cls.environment, timeout=TIMEOUT_S, check=True)
        # It passes Alt+F4 on to the window as a request to close.
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
        # A session of its own: a signal for its group reaches the simulator too, as Ctrl+C does.
        self.demo = subprocess.Popen(
            [sys.argv[1], "--output", self.output], cwd=SOURCES, text=True, start_new_session=True,
            stdout=subprocess.PIPE, stderr=self.errors,
            env={**self.environment, "TMPDIR": str(self.temporary), "XDG_RUNTIME_DIR": str(runtime)})
        self.addCleanup(self.demo.stdout.close)
        self.addCleanup(self.end_by_force)
        self.output_lines = [self.demo.stdout.readline() for _ in range(2)]
        self.keys("KV Tool")
        children = pathlib.Path(f"/proc/{self.demo.pid}/task/{self.demo.pid}/children").read_text().split()
        self.simulators = [int(child) for child in children]

    def end_by_force(self):
        if self.demo.poll() is None:
            os.killpg(self.demo.pid, signal.SIGKILL)
            self.demo.wait()

    def keys(self, title, *keys):
        """Waits for the window with this title, and types."""
        wait_until(lambda: self.xdotool("getwindowfocus", "getwindowname") == title, title)
        if keys:
            self.xdotool("key", *keys)

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, timeout=TIMEOUT_S,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout.strip()

    def press(self, button):
        self.keys("KV Tool", *["shift+Tab"] * STOPS.index(button), "space")

    def measurements(self):
        store = sqlite3.connect(f"file:{self.output}/measurements.db?mode=ro", uri=True)
        try:
            return store.execute("select count(*) from measurement_metadata").fetchone()[0]
        finally:
            store.close()

    def connect(self):
        before = self.measurements()
        self.press("connectButton")
        wait_until(lambda: self.measurements() > before, "a measurement in the store")

    def check_clean_end(self):
        rest, _ = self.demo.communicate(timeout=TIMEOUT_S)
        self.errors.seek(0)
        self.assertEqual((self.demo.returncode, rest, self.errors.read()), (0, "", ""))
        self.assertEqual(len(self.simulators), 1)
        wait_until(lambda: not pathlib.Path(f"/proc/{self.simulators[0]}").exists(), "the simulator's end")
        self.assertEqual([*self.temporary.iterdir()], [])
        self.assertEqual([*self.output.glob("*-journal")], [])
        locks = [lock for lock in pathlib.Path("/var/lock").glob("LCK..*")
                 if lock.read_text().split()[:1] == [str(self.demo.pid)]]
        self.assertEqual(locks, [])

    def test_two_lines_say_what_happens_and_where_the_files_are(self):
        self.assertIn("press Connect", self.output_lines[0])
        self.assertTrue(self.output_lines[1].endswith(f" {self.output}\n"), self.output_lines)
        self.assertTrue((self.output / "measurements.db").is_file())
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_end()

    def test_ctrl_c_ends_it_with_the_device_connected(self):
        self.connect()
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_end()

    def test_a_signal_for_the_tool_alone_ends_the_simulator_too(self):
        self.connect()
        self.demo.send_signal(signal.SIGTERM)
        self.check_clean_end()

    def test_ctrl_c_ends_it_during_an_open_dialog(self):
        self.press("exportLocalMeasurementsButton")
        self.keys("Select measurements to export")
        os.killpg(self.demo.pid, signal.SIGINT)
        self.check_clean_end()

    def test_closing_the_window_ends_it(self):
        self.connect()
        self.keys("KV Tool", "alt+F4")
        self.check_clean_end()


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
