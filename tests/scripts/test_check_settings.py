"""What scripts/check-settings says of a file of models, against what the program's loader makes of it."""

import contextlib
import importlib.machinery
import importlib.util
import io
import json
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = (SOURCES / "settings.xml").read_bytes()
SCHEMA = SOURCES / "docs/reference/settings.rng"
PROBE = sys.argv.pop(1)

loader = importlib.machinery.SourceFileLoader("check_settings", str(SOURCES / "scripts/check-settings"))
check_settings = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_settings", loader))
loader.exec_module(check_settings)

SETTING_TYPES = ["text", "int", "float"]
MEASUREMENT_TYPES = {"air temperature": 1, "pollutant": 2, "air humidity": 3, "air pressure": 4,
                     "pm2.5": 5, "pm10": 5, "winddir": 6, "windspeed": 7, "rain": 8, "extra": 9,
                     "solar radiation": 10}
UNITS = {"c": 1, "f": 2, "ppb": 3, "ppm": 4, "ug/m3": 5, "mbar": 6, "rh": 7, "deg": 8, "extra": 9,
         "mm/h": 10, "m/s": 11, "w/m2": 12}


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
    given = {"type": "int", "min": "1", "max": "9", "name": "Label", "alias": "word", **changes}
    return f'<ConfigurationItem {attributes(given)}/>'


def measurement(**changes):
    given = {"name": "W0", "type": "air temperature", "unit": "c", **changes}
    return f'<Measurement {attributes(given)}/>'


def attributes(given):
    return " ".join(f'{name}="{value}"' for name, value in given.items() if value is not None)


A = setting(alias="a")
M = measurement(name="M")
GOOD = device(configuration(A) + measurements(M))

# name: (file, whether the schema takes it, words that the script says besides the comparison)
CASES = {
    "sample": (SAMPLE.decode(), True, "take this file: 3 models"),
    "a small one": (file(GOOD), True, "take this file: 1 model."),
    "parts repeated": (file(device(measurements(M) + configuration(A) + measurements(measurement()))),
                       True, "take"),
    "no settings": (file(device("")), True, "No settings."),
    "two of a name": (file(GOOD + device("")), True, "this later one counts"),
    "code units": (file(device("", "\U0001F600") + device("", "\uFFEE") + device("", "z")), True,
                   '"z" is in force'),
    "numbers": (file(device(configuration("".join(
        setting(type="float", min=number, max=number, alias=f"n{index}") for index, number in
        enumerate(["1", "-2.5", "+3", ".5", "5.", "1e3", "1E-3", "0.1", "1e38", "16777217"]))))),
        True, "number"),
    "attribute order": (file(device('<Measurements><Measurement unit="C" type="Air Temperature" '
                                    'name="T"/></Measurements>')), False, "take"),
    "upper case": (file(GOOD).replace("Device", "DEVICE").replace("Measurement", "MEASUREMENT"),
                   False, "take"),
    "lower case": (file(GOOD).replace("ConfigurationItem", "configurationitem"), False, "take"),
    "all types": (file(device(measurements("".join(
        measurement(name=f"x{index}", type=kind, unit=unit) for index, (kind, unit) in enumerate(
            [("air temperature", "f"), ("air humidity", "rh"), ("air pressure", "mbar"),
             ("pm2.5", "ug/m3"), ("pm10", "ug/m3"), ("pollutant", "ppb"), ("pollutant", "ppm"),
             ("pollutant", "ug/m3"), ("rain", "mm/h"), ("winddir", "deg"), ("windspeed", "m/s"),
             ("solar radiation", "w/m2"), ("extra", "extra")]))))), True, "take"),
    "text of any length": (file(device(configuration(setting(type="text", min="0", max="0")))),
                           True, "text of any length"),
    "name for a missing display name": (file(device(measurements(measurement(displayName="")))),
                                        True, "W0 (W0)"),

    "empty file": ("", False, "looks for <KVTConfig>"),
    "no XML": ("KVTConfig", False, "refuse"),
    "another root": ("<Config><Devices/></Config>", False, "<Config> stands there"),
    "another first child": ("<KVTConfig><Other/><Devices/></KVTConfig>", False,
                            "looks for <Devices> here, but <Other>"),
    "no models": (file(""), False, "It holds no model"),
    "a second list": (file(GOOD).replace("</KVTConfig>", "<Devices>" + device("", "B")
                                         + "</Devices></KVTConfig>"), False,
                      "behind the place where the reading ended"),
    "model without a name": (file(GOOD + "<Device/>" + device("", "B")), False, "list of models ends"),
    "model with a capital Name": (file('<Device Name="B"/>'), False, 'no attribute "name"'),
    "stranger among the models": (file(GOOD + "<Stray/>" + device("", "B")), False, "no <Device>"),
    "stranger in a model": (file(device("<Stray/>" + configuration(A)) + device("", "B")), False,
                            'unknown in model "KVT-9"'),
    "stranger around the parts": (file(device(f"<Stray>{configuration(A)}</Stray>{measurements(M)}")),
                                  False, "children count"),
    "stranger in a configuration": (file(device(f"<Configuration><Stray/></Configuration>"
                                                f"{measurements(M)}")), False, "<Configuration>"),
    "stranger in a group": (file(device(configuration("<Stray><ConfigurationItem/></Stray>" + A))),
                            False, "unknown in a group"),
    "stranger among the measurements": (file(device(measurements("<Stray/>" + M))), False,
                                        "unknown among the measurements"),
    "stranger in a setting": (file(device(configuration(A.replace("/>", ">") + M
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
    "setting without two": (file(device(configuration(setting(name=None, alias=None)))), False,
                            '<ConfigurationItem> has no attribute "name"'),
    "measurement without all": (file(device(measurements("<Measurement/>"))), False,
                                '<Measurement> has no attribute "name"'),
    "unknown type": (file(device(measurements(measurement(type="airtemp")))), False,
                     'measurement type "airtemp" is unknown'),
    "unknown unit": (file(GOOD + device(measurements(measurement(unit="µg/m³")), "B")), False,
                     'unit "µg/m³" is unknown'),
    "unit with a percent sign": (file(device(measurements(measurement(type="air humidity",
                                                                      unit="%rh")))), False,
                                 'unit "%rh" is unknown'),
    "kind of setting in capitals": (file(device(configuration(setting(type="Float")))), False,
                                    'type "Float" is taken for a text'),
    "limit that is no number": (file(device(configuration(setting(min="low")))), False,
                                'min "low" is no number'),
    "limits with commas": (file(device(configuration(setting(type="float", max="2,5")))), False,
                           'max "2,5" is no number'),
    "odd numbers": (file(device(configuration("".join(
        setting(type="float", min=number, max="1e99", alias=f"n{index}") for index, number in
        enumerate(["", " 7 ", "1_0", "0x10", "--5", "5e", "1 0", "٣", "1e400", "3.4e38", "1e-60",
                   "&#160;5", "1,000", "e5", "."]))))), False, "is no number: taken for 0"),
    "odd factors": (file(device(measurements("".join(
        measurement(type="pollutant", unit="ppm", name=f"n{index}", conversionMultiplier=number)
        for index, number in enumerate(["", "abc", "1e400", "1e-400", " 2 ", "0,5", "1e300",
                                                      "inf", "nan"]))))),
        False, "is 0 for the tool"),
    "whole number with decimals": (file(device(configuration(setting(max="2.5")))), False,
                                   'max "2.5" is no whole number'),
    "alias with a blank": (file(device(configuration(setting(alias="my word")))), False, "unfit"),
    "alias with a pattern sign": (file(device(configuration(setting(alias="a.b")))), False, "unfit"),
    "alias of the device": (file(device(configuration(setting(alias="health")))), False,
                            "word of the device"),
    "alias twice": (file(device(configuration(A + A))), True, "stands twice"),
    "measurement twice": (file(device(measurements(M + M))), True, "stands twice"),
    "limits swapped": (file(device(configuration(setting(min="9", max="1")))), True, "min is above max"),
    "unit of another type": (file(device(measurements(measurement(unit="ppm")))), False,
                             "does not come in ppm"),
    "factor without effect": (file(device(measurements(measurement(conversionMultiplier="2")))), False,
                              "counts for a pollutant alone"),
    "unknown attribute": (file(device(measurements(measurement(displayname="Air")))), False,
                          'does not know the attribute "displayname"'),
    "cut off": (file(GOOD)[:-60], False, "The XML is broken"),
    "cut off in a tag": (file(GOOD + device(configuration(A), "B"))[:-90], False, "The XML is broken"),
    "wrong end": (file(device(configuration(A) + "</Devices>" + measurements(M))), False, "broken"),
    "ampersand": (file(device(configuration(A) + " & " + measurements(M))), False, "broken"),
    "attribute twice": (file(device(configuration('<ConfigurationItem type="a" type="b"/>') + M)),
                        False, "broken"),
    "undeclared prefix": (file(device(configuration(A) + "<x:Measurements/>" + measurements(M))),
                          False, 'prefix "x" is not declared'),
    "declared prefix": (file(GOOD).replace("<KVTConfig", '<k:KVTConfig xmlns:k="urn:k"')
                        .replace("</KVTConfig", "</k:KVTConfig"), False, "take"),
    "entity": (f'<!DOCTYPE KVTConfig [<!ENTITY e "KVT-E">]>{file(device("", "&e;"))[39:]}', True,
               'Model "KVT-E"'),
}


def as_the_probe_says(verdict):
    def with_codes(model):
        settings = [{"group": item["group"], "name": item["name"], "alias": item["alias"],
                     "min": f'{item["min"]:.9g}', "max": f'{item["max"]:.9g}',
                     "type": SETTING_TYPES.index(item["type"])} for item in model["settings"]]
        items = [{"name": item["name"], "displayName": item["displayName"],
                  "type": MEASUREMENT_TYPES[item["type"]], "unit": UNITS[item["unit"]],
                  "multiplier": f'{item["multiplier"]:.17g}'} for item in model["measurements"]]
        return {"settings": settings, "measurements": items}

    return {"loaded": verdict.loaded, "log": verdict.log,
            "models": {name: with_codes(model) for name, model in verdict.models.items()}}


def mutations(count):
    """The sample, damaged in the ways in which a person or a disk damages a file."""
    text, dice = SAMPLE.decode(), random.Random(7)
    words = ["<Stray/>", "<Stray>", "</Device>", "</Measurements>", "<Device name='X'>", "&", "]]>",
             "<!-- -->", "<Configuration>", "</Configuration>", " ", 'type="int"', "<y:Device/>",
             "<Measurements><Measurement name='Q' type='rain' unit='mm/h'/></Measurements>"]
    tags = [index for index, letter in enumerate(text) if letter == "<"]
    body = next(index for index in tags if text.startswith("<KVTConfig", index))
    for _ in range(count):
        start = dice.choice([tag for tag in tags if tag >= body])
        kind = dice.randrange(5)
        if kind == 0:
            yield text[:dice.randrange(body, len(text))]
        elif kind == 1:
            yield text[:start] + dice.choice(words) + text[start:]
        elif kind == 2:
            yield text[:start] + text[text.index(">", start) + 1:]
        elif kind == 3:
            place = dice.randrange(body, len(text))
            yield text[:place] + dice.choice('<>/"=&x') + text[place + 1:]
        else:
            quote = text.find('"', start)
            end = text.find('"', quote + 1)
            yield text[:quote + 1] + dice.choice(["", "abc", "7", "KVT-100", "extra"]) + text[end:]


class CheckSettings(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)

    def written(self, name, text):
        path = pathlib.Path(self.folder.name, f"{name}.xml".replace(" ", "-"))
        path.write_text(text, encoding="utf-8")
        return path

    def probe(self, paths):
        result = subprocess.run([PROBE], input="\n".join(map(str, paths)) + "\n", check=True,
                                capture_output=True, text=True, encoding="utf-8")
        return [json.loads(line) for line in result.stdout.splitlines()]

    def test_makes_of_each_file_what_the_program_makes_of_it(self):
        texts = [text for text, _, _ in CASES.values()]
        answers = self.probe([self.written(name, text) for name, text in zip(CASES, texts)])
        self.assertEqual(len(answers), len(CASES))
        for name, text, answer in zip(CASES, texts, answers):
            with self.subTest(name):
                verdict = check_settings.Verdict(text.encode())
                self.assertEqual(as_the_probe_says(verdict), answer)

    def test_makes_of_damaged_files_what_the_program_makes_of_them(self):
        texts = list(mutations(400))
        answers = self.probe([self.written(f"m{index}", text) for index, text in enumerate(texts)])
        self.assertEqual(len(answers), len(texts))
        self.assertGreater(len({json.dumps(answer) for answer in answers}), 100)
        for index, (text, answer) in enumerate(zip(texts, answers)):
            with self.subTest(index):
                said = as_the_probe_says(check_settings.Verdict(text.encode()))
                self.assertEqual((said["loaded"], said["models"]), (answer["loaded"], answer["models"]))

    def test_says_what_is_wrong(self):
        for name, (text, _, words) in CASES.items():
            with self.subTest(name):
                output = io.StringIO()
                with contextlib.redirect_stdout(output):
                    status = check_settings.main([str(self.written(name, text))])
                self.assertIn(words, output.getvalue())
                verdict = check_settings.Verdict(text.encode())
                self.assertEqual(status, 0 if verdict.is_whole() else 1)

    def test_leaves_nothing_unsaid_of_what_is_not_read(self):
        verdict = check_settings.Verdict(file(GOOD + "<Stray/>" + device(A, "B")).encode())
        self.assertEqual([text.partition(":")[0] for _, text in verdict.ignored],
                         ["<Stray>", "<Device>", "<ConfigurationItem>"])

    def test_finds_nothing_to_refuse_in_the_sample(self):
        verdict = check_settings.Verdict(SAMPLE)
        self.assertTrue(verdict.is_whole())
        self.assertEqual([text for _, text in verdict.remarks if "ppb" not in text], [])

    def test_says_that_a_file_is_missing(self):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            self.assertEqual(check_settings.main([self.folder.name + "/nowhere.xml"]), 1)
        self.assertIn("Failed to load configuration from file nowhere.xml", output.getvalue())

    def test_the_schema_takes_what_is_sensible_and_refuses_the_rest(self):
        for name, (text, sensible, _) in CASES.items():
            with self.subTest(name):
                result = subprocess.run(["xmllint", "--noout", "--relaxng", str(SCHEMA),
                                         str(self.written(name, text))], capture_output=True, text=True)
                self.assertEqual(result.returncode == 0, sensible, result.stderr)


if __name__ == "__main__":
    unittest.main()
