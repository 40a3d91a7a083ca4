# SPDX-License-Identifier: GPL-3.0-or-later
"""Checks the launcher against a stand-in program that tells where and how it was started.
Usage: python3 packaging/tst_launcher.py"""
import os
import pathlib
import shutil
import stat
import subprocess
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
PROGRAM = """#!/bin/sh
pwd -P
echo "data home: ${XDG_DATA_HOME-none}"
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
        shutil.copy(HERE / "kvtool-launcher", self.prefix / "bin")
        program = self.prefix / "bin/kvtool"
        program.write_text(PROGRAM)
        program.chmod(0o755)

    def launch(self, *arguments, command=None, **environment):
        command = command or self.prefix / "bin/kvtool-launcher"
        return subprocess.run(
            [command, *arguments], cwd=self.root, text=True, capture_output=True,
            env={"PATH": os.environ["PATH"], "HOME": str(self.home), **environment})

    def settings(self):
        return self.data / "settings.xml"

    def test_starts_the_program_in_the_data_folder(self):
        self.assertEqual(self.launch().stdout.splitlines()[0], str(self.data))

    def test_passes_arguments_and_exit_code_on(self):
        run = self.launch("-style", "a b")
        self.assertEqual(run.stdout.splitlines()[-2:], ["argument: -style", "argument: a b"])
        self.assertEqual(run.returncode, 7)

    def test_is_silent(self):
        self.assertEqual(self.launch().stderr, "")
        self.assertEqual(self.launch().stderr, "")

    def test_puts_a_writable_copy_of_the_sample_there_and_nothing_else(self):
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

    def test_keeps_a_link_that_leads_nowhere(self):
        self.data.mkdir(parents=True)
        self.settings().symlink_to(self.root / "unplugged/settings.xml")
        self.launch()
        self.assertTrue(self.settings().is_symlink())

    def test_takes_the_data_home_that_is_set(self):
        run = self.launch(XDG_DATA_HOME=str(self.root / "elsewhere"))
        self.assertEqual(run.stdout.splitlines()[0], str(self.root / "elsewhere/kvtool"))
        self.assertFalse(self.data.exists())

    def test_ignores_a_relative_and_an_empty_data_home(self):
        for folder in ("relative", ""):
            run = self.launch(XDG_DATA_HOME=folder)
            self.assertEqual(run.stdout.splitlines()[:2], [str(self.data), "data home: none"])

    def test_starts_beside_the_sample_when_the_data_folder_cannot_be_made(self):
        (self.home / ".local").write_text("a file in the way")
        run = self.launch()
        self.assertEqual(run.stdout.splitlines()[0], str(self.sample.parent))
        self.assertEqual(run.returncode, 7)
        self.assertNotEqual(run.stderr, "")

    def test_finds_its_parts_through_a_link(self):
        link = self.root / "link"
        link.symlink_to(self.prefix / "bin/kvtool-launcher")
        self.assertEqual(self.launch(command=link).stdout.splitlines()[0], str(self.data))
        self.assertEqual(self.settings().read_text(), "the sample")


if __name__ == "__main__":
    unittest.main()
