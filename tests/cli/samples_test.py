"""Runs the tool on all samples and compares its output with the expected files of the samples.

    samples_test.py BINARY SAMPLES

The output is parsed before it is compared. Numbers are compared by their bits.
"""

import gzip
import json
import pathlib
import re
import struct
import subprocess
import sys
import unittest

BINARY = ""
TIMEOUT = 300  # seconds
SAMPLES = pathlib.Path()


def run(*arguments):
    return subprocess.run([BINARY, *map(str, arguments)], capture_output=True, timeout=TIMEOUT, check=False)


def parse(text):
    """Parses all numbers as doubles: 1 equals 1.0, and -0.0 differs from 0.0."""
    return json.loads(text, parse_int=float)


def same(expected, actual):
    if isinstance(expected, float) and isinstance(actual, float):
        return struct.pack("<d", expected) == struct.pack("<d", actual)
    if type(expected) is not type(actual):
        return False
    if isinstance(expected, list):
        return len(expected) == len(actual) and all(map(same, expected, actual))
    if isinstance(expected, dict):
        return list(expected) == list(actual) and all(same(expected[name], actual[name]) for name in expected)
    return expected == actual


def differences(expected, actual):
    """Yields the members that differ; a member of the variables is "variables.NAME"."""
    for name, value in expected.items():
        if name in ("encoding", "timestamp") and value is None:
            continue
        if name == "variables":
            yield from variable_differences(value, actual[name])
        elif not same(value, actual[name]):
            yield name


def variable_differences(expected, actual):
    if len(expected) != len(actual):
        yield "variables"
        return
    for member in expected[0] if expected else ():
        if not same([one[member] for one in expected], [one[member] for one in actual]):
            yield f"variables.{member}"


def expected_lines(sample):
    plain = sample.with_suffix(".jsonl")
    if plain.exists():
        return plain.read_text(encoding="utf-8").splitlines()
    packed = sample.with_suffix(".jsonl.gz")
    if packed.exists():
        return gzip.decompress(packed.read_bytes()).decode("utf-8").splitlines()
    return []


class SamplesTest(unittest.TestCase):
    def differing_members(self, sample):
        expected = parse(sample.with_suffix(".json").read_bytes())
        info = run("info", "--json", sample)
        self.assertEqual((0, b""), (info.returncode, info.stderr))
        actual = parse(info.stdout.decode("utf-8"))
        self.assertEqual(list(expected), list(actual), "members and their order")
        for variable in actual["variables"]:
            self.assertEqual(list(expected["variables"][0]), list(variable), "members and their order")
        return set(differences(expected, actual))

    def cases_differ(self, sample):
        cat = run("cat", "--format", "jsonl", "--raw", sample)
        self.assertEqual((0, b""), (cat.returncode, cat.stderr))
        actual = [parse(line) for line in cat.stdout.decode("utf-8").splitlines()]
        return not same([parse(line) for line in expected_lines(sample)], actual)

    def test_samples_show_the_expected_contents(self):
        samples = sorted(SAMPLES.glob("*.quav"))
        self.assertTrue(samples, f"no samples at {SAMPLES}: set DATASRC_SAMPLES")
        for sample in samples:
            with self.subTest(sample=sample.name):
                differing = self.differing_members(sample)
                if self.cases_differ(sample):
                    differing.add("cases of cat")
                self.assertEqual(set(), differing)

    def error_number(self, *arguments):
        """Returns the number in the one line of a failure, or None when the work succeeds."""
        done = run(*arguments)
        if done.returncode == 0:
            self.assertEqual(b"", done.stderr)
            return None
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stderr.decode("utf-8"), r"\Adatasrc: error \d+: .+: .+\n\Z")
        return int(done.stderr.split()[2].rstrip(b":"))

    def bad_file_differs(self, file, expected):
        dictionary_error = self.error_number("info", "--json", file)
        if "error" in expected and expected["at"] == "dictionary":
            return dictionary_error != expected["error"]
        if dictionary_error is not None:
            return True
        if "error" in expected:
            return self.error_number("cat", "--format", "jsonl", file) != expected["error"]
        lines = run("cat", "--format", "jsonl", file).stdout.splitlines()
        return len(lines) != expected["cases"]

    def test_bad_files_give_the_expected_errors(self):
        expected = json.loads((SAMPLES / "bad" / "bad.json").read_text(encoding="utf-8"))
        self.assertEqual({file.name for file in (SAMPLES / "bad").glob("*.quav")}, set(expected))
        differing = {name for name, what in expected.items() if self.bad_file_differs(SAMPLES / "bad" / name, what)}
        self.assertEqual(set(), differing)

    def names_a_record(self, file):
        return re.search(rb" \(record \d+(/\d+)?, byte \d+\)\n\Z", run("info", file).stderr)

    def test_set_with_an_empty_long_name_is_error_1204(self):
        for name in ("abort_empty_long_name.quav", "set_of_empty_long_name.quav"):
            file = SAMPLES / "found" / name
            for work in (["info"], ["cat"], ["convert", "-", "--to", "csv"]):
                arguments = [work[0], file, *work[1:]]
                with self.subTest(file=name, work=work):
                    self.assertEqual(1204, self.error_number(*arguments))

    def test_files_that_would_end_the_process_are_error_1204(self):
        expected = json.loads((SAMPLES / "fatal" / "fatal.json").read_text(encoding="utf-8"))
        differing = set()
        for name in expected:
            file = SAMPLES / "fatal" / name
            if self.error_number("info", "--json", file) != 1204 or not self.names_a_record(file):
                differing.add(name)
        self.assertEqual(set(), differing)


if __name__ == "__main__":
    BINARY = sys.argv[1]
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1], verbosity=2)
