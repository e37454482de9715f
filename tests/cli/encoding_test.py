"""Runs `datasrc` on text that goes from one encoding to another, and on text that outgrows its place there.

    encoding_test.py BINARY
"""

import json
import pathlib
import resource
import sys
import unittest

import tool_test
from convert_test import ConvertTest
from system_file import SystemFile

CP1252 = 1252
IBM037 = 37
DATE_LINE = "   (Entered 14-Mar-24)"
GROUP = b"\x1d"
UNIT = b"\x1f"


def latin(text):
    return text.encode("cp1252")


class EncodingTest(ConvertTest):
    def warnings_of(self, *arguments):
        """Returns the texts of the warnings, without the file, of work that must succeed."""
        done = self.run_tool(*arguments)
        self.assertEqual(0, done.returncode, done.stderr)
        lines = done.stderr.splitlines()
        for line in lines:
            self.assertTrue(line.startswith("datasrc: warning"), line)
        self.printed = done.stdout
        return [line.removeprefix("datasrc: warning: ").rpartition(": ")[0] for line in lines]

    def converted(self, file, *options, warnings=()):
        """Returns `info --json` of the file that the conversion makes."""
        out = self.folder / "converted.quav"
        self.assertEqual(list(warnings), self.warnings_of("convert", file, out, *options))
        return self.info(out)


class Sets(EncodingTest):
    def sets_file(self, names, sets, kind="variable_sets"):
        tree = {"variables": [{"name": name, "type": 0} for name in names], kind: sets}
        return self.text_file("[" + ",".join("1" for _ in names) + "]\n", "in.jsonl"), self.dictionary(tree)

    def made(self, cases, dictionary, *options):
        out = self.folder / "out.quav"
        return self.warnings_of("convert", cases, out, "--dictionary", dictionary, *options), self.info(out)

    def processor_time(self, *arguments):
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        self.out(*arguments)
        return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before

    def test_fifty_thousand_members_take_time_in_proportion_to_their_number(self):
        times = []
        for count in 12_500, 50_000:
            names = [f"v{number}" for number in range(count)]
            cases, dictionary = self.sets_file(names, [{"name": "s", "variables": names}])
            warnings, info = self.made(cases, dictionary)
            self.assertEqual(([], names), (warnings, info["variable_sets"][0]["variables"]))
            file = self.folder / "out.quav"
            again = self.folder / "again.quav"
            times.append([self.processor_time("info", "--json", file), self.processor_time("convert", file, again)])
        for few, many in zip(*times):
            self.assertLess(many, 7 * few + 0.5)


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
