"""Tests what kvtool-check-settings reports about files like settings.xml, and what the schema accepts.
Usage: test_check_settings.py KVTOOL-CHECK-SETTINGS"""

import concurrent.futures
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = (SOURCES / "settings.xml").read_text(encoding="utf-8")
SCHEMA = SOURCES / "docs/reference/settings.rng"
PROGRAM = str(pathlib.Path(sys.argv.pop(1)).resolve())


def file(devices):
    return f'<?xml version="1.0" encoding="UTF-8"?>\n<KVTConfig><Devices>{devices}</Devices></KVTConfig>\n'


def device(content, name="KVT-9"):
    return f'<Device name="{name}">{content}</Device>'


def configuration(items):
    return ('<Configuration><ConfigurationItemGroup group="G">'
            f'{items}</ConfigurationItemGroup></Configuration>')


def measurements(items):
    return f"<Measurements>{items}</Measurements>"


def setting(**changes):
    values = {"type": "int", "min": "1", "max": "9", "name": "Label", "alias": "word", **changes}
    return f'<ConfigurationItem {attributes(values)}/>'


def measurement(**changes):
    values = {"name": "W0", "type": "air temperature", "unit": "c", **changes}
    return f'<Measurement {attributes(values)}/>'


def attributes(values):
    return " ".join(f'{name}="{value}"' for name, value in values.items() if value is not None)


A = setting(alias="a")
M = measurement(name="M")
GOOD = device(configuration(A) + measurements(M))

# name: (contents, whether the schema accepts them, what the program prints among other lines)
CASES = {
    "sample": (SAMPLE, True, "accepts this file: 3 models"),
    "one model": (file(GOOD), True, "accepts this file: 1 model."),
    "repeated measurements": (file(device(measurements(M) + configuration(A) + measurements(measurement()))),
                              True, "accepts"),
    "no settings": (file(device("")), True, "No settings."),
    "two models with the same name": (file(GOOD + device("")), True, "this later one is used"),
    "names sorted by code units": (file(device("", "\U0001F600") + device("", "\uFFEE") + device("", "z")), True,
                                   '"z" is the current model'),
    "numbers": (file(device(configuration("".join(
        setting(type="float", min=number, max=number, alias=f"n{index}") for index, number in
        enumerate(["1", "-2.5", "+3", ".5", "5.", "1e3", "1E-3", "0.1", "1e38", "16777217"]))))),
        True, "number"),
    "attribute order": (file(device('<Measurements><Measurement unit="C" type="Air Temperature" '
                                    'name="T"/></Measurements>')), False, "accepts"),
    "upper case": (file(GOOD).replace("Device", "DEVICE").replace("Measurement", "MEASUREMENT"),
                   False, "accepts"),
    "lower case": (file(GOOD).replace("ConfigurationItem", "configurationitem"), False, "accepts"),
    "all types": (file(device(measurements("".join(
        measurement(name=f"x{index}", type=kind, unit=unit) for index, (kind, unit) in enumerate(
            [("air temperature", "f"), ("air humidity", "rh"), ("air pressure", "mbar"),
             ("pm2.5", "ug/m3"), ("pm10", "ug/m3"), ("pollutant", "ppb"), ("pollutant", "ppm"),
             ("pollutant", "ug/m3"), ("rain", "mm/h"), ("winddir", "deg"), ("windspeed", "m/s"),
             ("solar radiation", "w/m2"), ("extra", "extra")]))))), True, "accepts"),
    "text of any length": (file(device(configuration(setting(type="text", min="0", max="0")))),
                           True, "text of any length"),
    "name for a missing display name": (file(device(measurements(measurement(displayName="")))),
                                        True, "W0 (W0)"),

    "empty file": ("", False, "<KVTConfig> is expected here"),
    "no XML": ("KVTConfig", False, "rejects"),
    "another root": ("<Config><Devices/></Config>", False, "found: <Config>"),
    "another first child": ("<KVTConfig><Other/><Devices/></KVTConfig>", False,
                            "<Devices> is expected here, found: <Other>"),
    "no models": (file(""), False, "It contains no model"),
    "a second list": (file(GOOD).replace("</KVTConfig>", "<Devices>" + device("", "B")
                                         + "</Devices></KVTConfig>"), False,
                      "after the line at which KV Tool stops reading"),
    "model without a name": (file(GOOD + "<Device/>" + device("", "B")), False, "list of models ends"),
    "model with a capital Name": (file('<Device Name="B"/>'), False, 'no attribute "name"'),
    "unknown element among the models": (file(GOOD + "<Stray/>" + device("", "B")), False, "not a <Device>"),
    "unknown element in a model": (file(device("<Stray/>" + configuration(A)) + device("", "B")), False,
                                   'unknown in <Device>'),
    "unknown element around the parts": (file(device(f"<Stray>{configuration(A)}</Stray>{measurements(M)}")),
                                         False, "children are read"),
    "unknown element in a configuration": (file(device(f"<Configuration><Stray/></Configuration>"
                                                f"{measurements(M)}")), False, "<Configuration>"),
    "unknown element in a group": (file(device(configuration("<Stray><ConfigurationItem/></Stray>" + A))),
                                   False, "unknown in <ConfigurationItemGroup>"),
    "unknown element among the measurements": (file(device(measurements("<Stray/>" + M))), False,
                                               "unknown in <Measurements>"),
    "unknown element in a setting": (file(device(configuration(A.replace("/>", ">") + M
                                                        + "</ConfigurationItem>" + A))), False,
                                     "inside <ConfigurationItem>"),
    "group without a group": (file(device("<Configuration><ConfigurationItemGroup/></Configuration>")),
                              False, '<ConfigurationItemGroup> has no attribute "group"'),
    **{f"setting without {name}": (file(device("", "B") + device(configuration(setting(**{name: None})))),
                                   False, f'<ConfigurationItem> has no attribute "{name}"')
       for name in ("type", "min", "max", "name", "alias")},
    **{f"measurement without {name}": (file(device(measurements(measurement(**{name: None})))),
                                       False, f'<Measurement> has no attribute "{name}"')
       for name in ("type", "unit", "name")},
    "setting without two attributes": (file(device(configuration(setting(name=None, alias=None)))), False,
                                       '<ConfigurationItem> has no attribute "name"'),
    "measurement without attributes": (file(device(measurements("<Measurement/>"))), False,
                                       '<Measurement> has no attribute "name"'),
    "unknown type": (file(device(measurements(measurement(type="airtemp")))), False,
                     'measurement type "airtemp" is unknown'),
    "unknown unit": (file(GOOD + device(measurements(measurement(unit="µg/m³")), "B")), False,
                     'unit "µg/m³" is unknown'),
    "unit with a percent sign": (file(device(measurements(measurement(type="air humidity",
                                                                      unit="%rh")))), False,
                                 'unit "%rh" is unknown'),
    "type of a setting with a capital letter": (file(device(configuration(setting(type="Float")))), False,
                                                'type "Float" is read as text'),
    "limit that is not a number": (file(device(configuration(setting(min="low")))), False,
                                   'min "low" is not a number'),
    "limits with commas": (file(device(configuration(setting(type="float", max="2,5")))), False,
                           'max "2,5" is not a number'),
    "unusual numbers": (file(device(configuration("".join(
        setting(type="float", min=number, max="1e99", alias=f"n{index}") for index, number in
        enumerate(["", " 7 ", "1_0", "0x10", "--5", "5e", "1 0", "٣", "1e400", "3.4e38", "1e-60",
                   "&#160;5", "1,000", "e5", "."]))))), False, "is not a number and is read as 0"),
    "unusual conversion multipliers": (file(device(measurements("".join(
        measurement(type="pollutant", unit="ppm", name=f"n{index}", conversionMultiplier=number)
        for index, number in enumerate(["", "abc", "1e400", "1e-400", " 2 ", "0,5", "1e300",
                                                      "inf", "nan"]))))),
        False, "is read as 0"),
    "whole number with decimals": (file(device(configuration(setting(max="2.5")))), False,
                                   'max "2.5" is not a whole number'),
    "alias with a space": (file(device(configuration(setting(alias="my word")))), False, "not valid in a command"),
    "alias with a regular expression character": (file(device(configuration(setting(alias="a.b")))), False,
                                                  "not valid in a command"),
    "alias reserved by the console": (file(device(configuration(setting(alias="health")))), False,
                                      "name that the console uses itself"),
    "alias twice": (file(device(configuration(A + A))), True, "appears twice"),
    "measurement twice": (file(device(measurements(M + M))), True, "appears twice"),
    "swapped limits": (file(device(configuration(setting(min="9", max="1")))), True, "min is above max"),
    "unit of another type": (file(device(measurements(measurement(unit="ppm")))), False,
                             "is not shown in ppm"),
    "conversion multiplier without effect": (file(device(measurements(measurement(conversionMultiplier="2")))), False,
                                             "has an effect only on a pollutant"),
    "unknown attribute": (file(device(measurements(measurement(displayname="Air")))), False,
                          'unknown attribute "displayname"'),
    "truncated": (file(GOOD)[:-60], False, "The XML is malformed"),
    "truncated in a tag": (file(GOOD + device(configuration(A), "B"))[:-90], False, "The XML is malformed"),
    "mismatched end tag": (file(device(configuration(A) + "</Devices>" + measurements(M))), False, "malformed"),
    "ampersand": (file(device(configuration(A) + " & " + measurements(M))), False, "malformed"),
    "attribute twice": (file(device(configuration('<ConfigurationItem type="a" type="b"/>') + M)),
                        False, "malformed"),
    "undeclared prefix": (file(device(configuration(A) + "<x:Measurements/>" + measurements(M))),
                          False, 'The XML is malformed at line 2'),
    "declared prefix": (file(GOOD).replace("<KVTConfig", '<k:KVTConfig xmlns:k="urn:k"')
                        .replace("</KVTConfig", "</k:KVTConfig"), False, "accepts"),
    "entity": (f'<!DOCTYPE KVTConfig [<!ENTITY e "KVT-E">]>{file(device("", "&e;"))[39:]}', True,
               'Model "KVT-E"'),
}


def damaged_samples(count):
    """Yields copies of the sample with damage such as an editing mistake or a disk error causes."""
    text, generator = SAMPLE, random.Random(7)
    insertions = ["<Stray/>", "<Stray>", "</Device>", "</Measurements>", "<Device name='X'>", "&", "]]>",
                  "<!-- -->", "<Configuration>", "</Configuration>", " ", 'type="int"', "<y:Device/>",
                  "<Measurements><Measurement name='Q' type='rain' unit='mm/h'/></Measurements>"]
    tags = [index for index, letter in enumerate(text) if letter == "<"]
    root_begin = next(index for index in tags if text.startswith("<KVTConfig", index))
    for _ in range(count):
        start = generator.choice([tag for tag in tags if tag >= root_begin])
        kind = generator.randrange(5)
        if kind == 0:
            yield text[:generator.randrange(root_begin, len(text))]
        elif kind == 1:
            yield text[:start] + generator.choice(insertions) + text[start:]
        elif kind == 2:
            yield text[:start] + text[text.index(">", start) + 1:]
        elif kind == 3:
            position = generator.randrange(root_begin, len(text))
            yield text[:position] + generator.choice('<>/"=&x') + text[position + 1:]
        else:
            quote = text.find('"', start)
            end = text.find('"', quote + 1)
            yield text[:quote + 1] + generator.choice(["", "abc", "7", "KVT-100", "extra"]) + text[end:]


class CheckSettings(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)

    def write_file(self, name, text):
        path = pathlib.Path(self.folder.name, f"{name}.xml".replace(" ", "-"))
        path.write_text(text, encoding="utf-8")
        return path

    def check(self, *arguments):
        return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True,
                              encoding="utf-8", cwd=self.folder.name, check=False)

    def test_reports_each_kind_of_content(self):
        for name, (text, _, expected_output) in CASES.items():
            with self.subTest(name):
                result = self.check(self.write_file(name, text))
                self.assertIn(expected_output, result.stdout)
                self.assertEqual(result.stderr, "")
                accepted = ("KV Tool accepts" in result.stdout and "Not read:" not in result.stdout
                            and "The XML is malformed" not in result.stdout)
                self.assertEqual(result.returncode, 0 if accepted else 1)

    def test_agrees_with_the_loader_about_damaged_files(self):
        """The program parses the file itself and exits with another code if the loader's result differs."""
        paths = [self.write_file(f"m{index}", text) for index, text in enumerate(damaged_samples(150))]
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            results = list(pool.map(self.check, paths))
        for path, result in zip(paths, results):
            self.assertIn(result.returncode, (0, 1), f"{path.read_text()}\n{result.stdout}{result.stderr}")
        self.assertGreater(len({result.stdout for result in results}), 75)

    def test_lists_every_element_that_is_not_read(self):
        result = self.check(self.write_file("stray", file(GOOD + "<Stray/>\n" + device(A, "B"))))
        self.assertEqual(result.stdout.partition("Not read:\n")[2].splitlines(), [
            "  line 2: <Stray>: not a <Device>: the list of models ends here, without a message",
            "  line 3: <Device>: after the line at which KV Tool stops reading",
            "  line 3: <ConfigurationItem>: after the line at which KV Tool stops reading"])

    def test_reports_the_line_in_which_a_tag_begins(self):
        text = file("\n<!-- a\ncomment -->" + device(measurements('<Measurement\n name="a"\n type="rain"/>')))
        self.assertIn('  line 4: <Measurement> has no attribute "unit"',
                      self.check(self.write_file("lines", text)).stdout)

    def test_shows_only_the_first_of_many_elements_that_are_not_read(self):
        result = self.check(self.write_file("many", file("<Stray/>" * 25)))
        self.assertIn("  ... and 5 more\n", result.stdout)

    def test_accepts_the_sample(self):
        result = self.check(self.write_file("sample", SAMPLE))
        self.assertEqual(result.returncode, 0)
        warnings = result.stdout.partition("Warnings:\n")[2].splitlines()
        self.assertEqual([line for line in warnings if "ppb" not in line], [])

    def test_checks_settings_xml_of_the_working_directory_by_default(self):
        self.write_file("settings", file(GOOD))
        self.assertIn("1 model.", self.check().stdout)

    def test_rejects_paths_that_are_no_regular_file(self):
        for path in ("nowhere.xml", "/dev/zero", "."):
            with self.subTest(path):
                result = self.check(path)
                self.assertEqual(result.returncode, 1)
                self.assertIn("Failed to load configuration from file", result.stdout)

    def test_prints_its_usage(self):
        usage = "Usage: kvtool-check-settings [FILE]"
        result = self.check("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn(usage, result.stdout)
        for arguments in (["--unknown"], ["a", "b"]):
            result = self.check(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertIn(usage, result.stderr)

    def test_schema_accepts_only_valid_files(self):
        for name, (text, valid, _) in CASES.items():
            with self.subTest(name):
                result = subprocess.run(["xmllint", "--noout", "--relaxng", str(SCHEMA),
                                         str(self.write_file(name, text))], capture_output=True, text=True)
                self.assertEqual(result.returncode == 0, valid, result.stderr)


if __name__ == "__main__":
    unittest.main()
