# SPDX-License-Identifier: GPL-3.0-or-later
"""Tests kvtool-launcher with programs that print how they were started.
Usage: test_launcher.py LAUNCHER VERSION"""
import os
import pathlib
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

LAUNCHER, VERSION = sys.argv.pop(1), sys.argv.pop(1)
PROGRAM = """#!/bin/sh
pwd -P
echo "data home: ${XDG_DATA_HOME-none}"
echo "program: ${0##*/}"
echo "scaling: ${QT_AUTO_SCREEN_SCALE_FACTOR-none}"
printf 'argument: %s\\n' "$@"
exit 7
"""


class Launcher(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.prefix = self.root / "usr"
        self.sample = self.prefix / "share/kvtool/settings.xml"
        self.home = self.root / "home of the user"
        self.data = self.home / ".local/share/kvtool"
        self.sample.parent.mkdir(parents=True)
        self.sample.write_text("the sample")
        (self.prefix / "bin").mkdir()
        self.home.mkdir()
        shutil.copy(LAUNCHER, self.prefix / "bin/kvtool-launcher")
        for name in ("kvtool", "kvtool-demo", "xdg-open"):
            program = self.prefix / "bin" / name
            program.write_text(PROGRAM)
            program.chmod(0o755)

    def launch(self, *arguments, command=None, **environment):
        command = command or self.prefix / "bin/kvtool-launcher"
        return subprocess.run(
            [command, *arguments], cwd=self.root, text=True, capture_output=True,
            env={"PATH": f"{self.prefix}/bin:{os.environ['PATH']}", "HOME": str(self.home), **environment})

    def settings(self):
        return self.data / "settings.xml"

    def test_starts_the_program_in_the_data_folder(self):
        self.assertEqual(self.launch().stdout.splitlines()[0], str(self.data))

    def test_passes_arguments_and_exit_code_on(self):
        run = self.launch("-style", "a b")
        self.assertEqual(run.stdout.splitlines()[-2:], ["argument: -style", "argument: a b"])
        self.assertEqual(run.returncode, 7)

    def test_prints_nothing_itself(self):
        self.assertEqual(self.launch().stderr, "")
        self.assertEqual(self.launch().stderr, "")

    def test_copies_the_sample_and_nothing_else_to_the_data_folder(self):
        self.sample.chmod(0o644)
        self.launch()
        self.assertEqual(self.settings().read_text(), "the sample")
        self.assertTrue(self.settings().stat().st_mode & stat.S_IWUSR)
        self.assertEqual(os.listdir(self.data), ["settings.xml"])

    def test_keeps_the_users_file(self):
        self.data.mkdir(parents=True)
        self.settings().write_text("of the user")
        self.launch()
        self.assertEqual(self.settings().read_text(), "of the user")

    def test_keeps_an_empty_file(self):
        self.data.mkdir(parents=True)
        self.settings().touch()
        self.launch()
        self.assertEqual(self.settings().read_text(), "")

    def test_keeps_a_dangling_link(self):
        self.data.mkdir(parents=True)
        self.settings().symlink_to(self.root / "unplugged/settings.xml")
        self.launch()
        self.assertTrue(self.settings().is_symlink())

    def test_uses_the_data_home_that_is_set(self):
        run = self.launch(XDG_DATA_HOME=str(self.root / "elsewhere"))
        self.assertEqual(run.stdout.splitlines()[0], str(self.root / "elsewhere/kvtool"))
        self.assertFalse(self.data.exists())

    def test_ignores_a_relative_and_an_empty_data_home(self):
        for folder in ("relative", ""):
            run = self.launch(XDG_DATA_HOME=folder)
            self.assertEqual(run.stdout.splitlines()[:2], [str(self.data), "data home: none"])

    def test_starts_in_the_folder_of_the_sample_if_the_data_folder_cannot_be_created(self):
        (self.home / ".local").write_text("a file in the way")
        run = self.launch()
        self.assertEqual(run.stdout.splitlines()[0], str(self.sample.parent))
        self.assertEqual(run.returncode, 7)
        self.assertNotEqual(run.stderr, "")

    def test_scales_with_the_screen_unless_the_user_has_chosen(self):
        self.assertIn("scaling: 1", self.launch().stdout.splitlines())
        for choice in ("QT_ENABLE_HIGHDPI_SCALING", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"):
            for value in ("1", ""):
                self.assertIn("scaling: none", self.launch(**{choice: value}).stdout.splitlines())
        for value in ("0", ""):
            run = self.launch(QT_AUTO_SCREEN_SCALE_FACTOR=value)
            self.assertIn(f"scaling: {value}", run.stdout.splitlines())

    def test_finds_program_and_sample_when_started_through_a_link(self):
        link = self.root / "link"
        link.symlink_to(self.prefix / "bin/kvtool-launcher")
        self.assertEqual(self.launch(command=link).stdout.splitlines()[0], str(self.data))
        self.assertEqual(self.settings().read_text(), "the sample")

    def test_starts_the_demo_in_a_separate_data_folder(self):
        data = self.home / ".local/share/kvtool-demo"
        run = self.launch("--demo", "-style", "fusion")
        self.assertEqual(run.stdout.splitlines(), [
            str(data), "data home: none", "program: kvtool-demo", "scaling: 1", "argument: --output",
            f"argument: {data}", "argument: -style", "argument: fusion"])
        self.assertEqual(os.listdir(data), ["settings.xml"])
        self.assertFalse(self.data.exists())

    def test_shows_the_manual_in_the_browser(self):
        self.assertEqual(self.launch("--manual").stdout.splitlines()[2:],
                         ["program: xdg-open", "scaling: none",
                          f"argument: {self.prefix}/share/doc/kvtool/manual/index.html"])

    def test_prints_the_path_of_the_manual_if_no_browser_opens_it(self):
        run = self.launch("--manual")
        self.assertEqual(run.returncode, 1)
        self.assertIn(f"{self.prefix}/share/doc/kvtool/manual/index.html", run.stderr)

    def test_prints_version_and_help_and_starts_nothing(self):
        self.assertEqual(self.launch("--version").stdout, f"KV Tool {VERSION}\n")
        self.assertIn("Usage: kvtool-launcher", self.launch("--help").stdout)
        self.assertEqual(os.listdir(self.home), [])


if __name__ == "__main__":
    unittest.main()
