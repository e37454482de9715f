"""Checks the JSON Schema of `info --json`: the tool prints what it describes for every sample, and wrong documents are
refused.

    schema_test.py BINARY SCHEMA SAMPLES

Needs the Python package jsonschema (scripts/setup_python.sh); skipped without it.
"""

import copy
import json
import os
import pathlib
import subprocess
import sys
import unittest

SKIPPED = 77
BINARY = ""
SCHEMA = pathlib.Path()
SAMPLES = pathlib.Path()
TIMEOUT = 300  # seconds

ROOT = pathlib.Path(__file__).resolve().parents[2]
PYTHON = ROOT / "build" / "python" / "bin" / "python"
try:
    import jsonschema
except ImportError:
    # The virtual environment of the tests has it.
    if PYTHON.exists() and pathlib.Path(sys.prefix).resolve() != PYTHON.parent.parent:
        os.execv(PYTHON, [str(PYTHON), "-B", *sys.argv])
    print("skipped: jsonschema is not there; scripts/setup_python.sh installs it")
    sys.exit(SKIPPED)


def info(file, *variables):
    """Returns what the tool prints, parsed."""
    done = subprocess.run([BINARY, "info", "--json", file, *variables], capture_output=True, timeout=TIMEOUT, check=True)
    return json.loads(done.stdout)


def at(document, path):
    """Returns the object or list that has the last step of the path."""
    for step in path[:-1]:
        document = document[step]
    return document


# In the document of metadata.quav: the path of a member, and a value that it must not have.
WRONG_VALUES = [
    (["compression"], "gzip"),
    (["byte_order"], None),
    (["encrypted"], "no"),
    (["release"], [25, 0]),
    (["release"], [25, 0, "1"]),
    (["timestamp"], "2024-03-14T10:20:30"),
    (["cases"], -1),
    (["cases"], 3.5),
    (["weight"], 4),
    (["variables"], {}),
    (["variables", 0, "name"], ""),
    (["variables", 0, "type"], -1),
    (["variables", 0, "type"], 32768),
    (["variables", 0, "print"], [5, 8]),
    (["variables", 0, "missing"], {"code": 4, "values": []}),
    (["variables", 0, "missing"], {"code": -1, "values": []}),
    (["variables", 0, "missing"], {"code": 1, "values": ["nine"]}),
    (["variables", 0, "missing"], {"code": 3, "values": [1, 2, 3, 4]}),
    (["variables", 0, "value_labels"], [["one", "label"]]),
    (["variables", 0, "value_labels"], [[1, "label", 2]]),
    (["variables", 0, "value_labels"], [[1, None]]),
    (["attributes"], {"name": "value"}),
    (["attributes", 0], ["name", "value"]),
    (["documents", 0, "date"], "14 March"),
    (["mr_sets", 0, "flags"], "2"),
    (["sort_keys", 0], [1, 2]),
    (["trends", "period"], [1, 4]),
    (["trends", "date_variables", 0], ["YEAR_", 1]),
    (["extensions_found"], [100]),
    (["extensions_found"], [3, 3]),
]
# In the same document: objects whose members are fixed.
OBJECTS = [[], ["variables", 0], ["variables", 0, "missing"], ["documents", 0], ["mr_sets", 0], ["trends"]]


class SchemaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(SCHEMA.read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.validator = jsonschema.Draft202012Validator(schema)
        cls.metadata = info(SAMPLES / "metadata.quav")

    def complaints(self, document):
        return [f"{error.json_path}: {error.message}" for error in self.validator.iter_errors(document)]

    def test_every_sample_fits(self):
        samples = sorted(SAMPLES.glob("*.quav"))
        self.assertTrue(samples, f"no samples at {SAMPLES}: set DATASRC_SAMPLES")
        for sample in samples:
            with self.subTest(sample=sample.name):
                self.assertEqual([], self.complaints(info(sample)))

    def test_chosen_variables_fit(self):
        document = info(SAMPLES / "metadata.quav", "red", "green")
        self.assertEqual(2, len(document["variables"]))
        self.assertEqual([], self.complaints(document))

    def test_wrong_values_are_refused(self):
        self.assertEqual([], self.complaints(self.metadata))
        for path, value in WRONG_VALUES:
            with self.subTest(path=path, value=value):
                document = copy.deepcopy(self.metadata)
                at(document, path)[path[-1]] = value
                self.assertTrue(self.complaints(document))

    def test_missing_and_unknown_members_are_refused(self):
        for path in OBJECTS:
            with self.subTest(path=path):
                document = copy.deepcopy(self.metadata)
                member = at(document, [*path, None])
                member["newcomer"] = 1
                self.assertTrue(self.complaints(document))
                del member["newcomer"]
                self.assertEqual([], self.complaints(document))
                for name in list(member):
                    value = member.pop(name)
                    self.assertTrue(self.complaints(document), name)
                    member[name] = value

    def test_text_and_numbers_have_values_of_their_own_kind(self):
        text = copy.deepcopy(self.metadata)
        text["variables"][0].update(type=8, missing={"code": 1, "values": ["nine"]}, value_labels=[["one", "label"]])
        self.assertEqual([], self.complaints(text))
        text["variables"][0].update(missing={"code": 1, "values": [9]})
        self.assertTrue(self.complaints(text))
        number = copy.deepcopy(self.metadata)
        number["variables"][0].update(
            missing={"code": -3, "values": ["lowest", 0, 9.5]}, value_labels=[[1, "one"], [None, "none"], ["NaN", "not"]]
        )
        self.assertEqual([], self.complaints(number))


if __name__ == "__main__":
    BINARY = sys.argv[1]
    SCHEMA = pathlib.Path(sys.argv[2])
    SAMPLES = pathlib.Path(sys.argv[3])
    unittest.main(argv=sys.argv[:1], verbosity=2)
