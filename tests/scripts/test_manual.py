"""Checks links, quoted texts, examples and queries of the manual and the reference.
Usage: test_manual.py KVTOOL-CHECK-SETTINGS"""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import re
import sqlite3
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
CHECK_SETTINGS = sys.argv.pop(1)
REFERENCE = SOURCES / "docs/reference"


def load_script(name):
    loader = importlib.machinery.SourceFileLoader(name.replace("-", "_"), str(SOURCES / "scripts" / name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


manual = load_script("manual")


def blocks(page, language):
    return re.findall(rf"```{language}\n(.*?)```", (REFERENCE / page).read_text(), re.DOTALL)


class Manual(unittest.TestCase):
    def test_links_and_quoted_texts_exist(self):
        complaints = io.StringIO()
        with contextlib.redirect_stderr(complaints):
            self.assertTrue(manual.check(), complaints)
        self.assertEqual(complaints.getvalue(), "")

    def test_broken_links_and_wrong_quotes_are_reported(self):
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder, "page.md")
            page.write_text("# One page\n**Show graph** **Show graf** **Unable to save log to file …**\n"
                            "**Error occurred with serial port communication: Unable to open port!**\n"
                            "**Error occurred with serial port communication: Unable to close port!**\n"
                            "[a](#one-page) [b](#two) [c](nowhere.md) [d](page.md#one-page)\n")
            self.assertEqual([*manual.broken_links(page)], [f"{page}: #two is not a heading",
                                                            f"{page}: nowhere.md doesn't exist"])
            self.assertEqual([*manual.wrong_quotes(page, manual.source_texts())],
                             [f'{page}: the tool doesn\'t show "Show graf"',
                              f"{page}: the tool doesn't show \"Error occurred with serial port "
                              'communication: Unable to close port!"'])

    def test_every_page_can_be_reached_from_the_index(self):
        seen, pending = set(), [SOURCES / "docs/manual/index.md"]
        while pending:
            page = pending.pop()
            if page not in seen:
                seen.add(page)
                pending += [(page.parent / target.partition("#")[0]).resolve() for target in
                          re.findall(r"\]\(([^)#]+\.md[^)]*)\)", page.read_text())]
        self.assertEqual(seen & set(manual.pages()), set(manual.pages()))

    def test_tour_saves_every_screenshot(self):
        script = (SOURCES / "scripts/update-images").read_text()
        tour = "".join(file.read_text() for file in (SOURCES / "tests/e2e/tour").glob("*.cpp"))
        copied = set(re.search(r"for name in (.*?); do", script, re.DOTALL)[1].replace("\\", " ").split())
        self.assertEqual({file.stem for file in (SOURCES / "docs/images").glob("*.png")}, copied)
        for name in copied:
            self.assertIn(f'text("{name}")', tour)

    def test_settings_file_example_is_valid(self):
        (example,) = blocks("settings-file.md", "xml")
        with tempfile.NamedTemporaryFile("w", suffix=".xml") as file:
            file.write(example)
            file.flush()
            report = subprocess.run([CHECK_SETTINGS, file.name], capture_output=True, text=True)
        self.assertEqual(report.returncode, 0, report.stdout)
        self.assertNotIn("Warnings:", report.stdout)
        result = subprocess.run(["xmllint", "--noout", "--relaxng", str(REFERENCE / "settings.rng"), "-"],
                                input=example, capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_database_schema_matches_the_sources(self):
        statements, *_ = blocks("database.md", "sql")
        source = (SOURCES / "src/storage/localstoragesqlite.cpp").read_text()
        source = " ".join(re.sub(r'"\s*\n?\s*"', "", source).split())
        for statement in statements.strip().split(";\n"):
            self.assertIn(" ".join(statement.rstrip(";").split()), source)

    def test_queries_return_what_their_headings_say(self):
        schema, *queries = blocks("database.md", "sql")
        store = sqlite3.connect(":memory:")
        store.executescript(schema)
        store.execute("insert into device values (1, 'KVT-100', 'K529636', '2.4.1', 'B')")
        store.executemany("insert into measurement_type values (?, ?)", [(1, "W0"), (2, "W1")])
        # Three readings, the second one without humidity, the third one after a gap.
        hour = 3600_000
        for reading, (time, values) in enumerate([(0, (20.0, 40.0)), (60_000, (21.0, None)),
                                                  (hour, (22.0, 44.0))], 1):
            store.execute("insert into measurement_metadata values (?, ?, 1, 1)", (reading, time))
            for kind, value in enumerate(values, 1):
                if value is not None:
                    store.execute("insert into measurement_value (measurement_id, measurement_type_id,"
                                  " value) values (?, ?, ?)", (reading, kind, value))
        devices, latest, hours, gaps, table = [store.execute(query).fetchall() for query in queries]
        self.assertEqual([row[:3] for row in devices], [("KVT-100", "K529636", 3)])
        self.assertEqual([row[:2] for row in latest], [("W0", 22.0), ("W1", 44.0)])
        self.assertEqual([row[1:] for row in hours], [(1, 40.0, 40.0, 40.0), (1, 44.0, 44.0, 44.0)])
        self.assertEqual([(row[0], row[3]) for row in gaps], [("K529636", 59)])
        self.assertEqual([row[2:] for row in table], [(20.0, 40.0), (21.0, None), (22.0, 44.0)])


if __name__ == "__main__":
    unittest.main()
