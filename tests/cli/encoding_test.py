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


class WideText(EncodingTest):
    """Strings whose UTF-8 text is longer than any string may be."""

    CUT = "values that were cut, because a string has at most 32767 bytes in UTF-8: "
    def wide_file(self, width, *texts, page=CP1252):
        parts = (width + 251) // 252
        widths = [255] * (parts - 1) + [width - 252 * (parts - 1)]
        file = SystemFile()
        for part in range(parts):
            file.variable(f"T{part}" if part else "T", widths[part])
        lengths = b"T=%d\0\t" % width
        file.variable("N").code_page(page).extension(13, 1, 3, b"T=t").extension(14, 1, len(lengths), lengths)
        for number, text in enumerate(texts):
            file.case(*(text[255 * part : 255 * part + widths[part]] for part in range(parts)), number)
        return self.file(file, "wide.quav")

    # The first texts fit; of the others the last character lies across the border, or past it.
    TEXTS = (
        ("x" * 13000, 13000),
        ("é" * 16383 + "x", 16384),  # 32,767 bytes
        ("é" * 16384, 16383),  # 32,768 bytes
        ("é" * 16383 + "xx", 16384),
        ("x" + "é" * 16384, 16384),  # the border is between two characters
        ("€" * 10922 + "x", 10923),
        ("€" * 10922 + "é", 10922),
        ("€" * 10922 + "€", 10922),
        ("x" + "€" * 10922, 10923),
        ("xx" + "€" * 10922, 10923),
        ("€" * 10921 + " " * 20 + "é", 10921),  # only blanks stand at the border
        ("", 0),
    )

    def expected(self):
        return [[text[:length], float(number)] for number, (text, length) in enumerate(self.TEXTS)]

    def test_values_are_cut_between_characters_and_counted(self):
        lost = sum(length != len(text) for text, length in self.TEXTS)
        file = self.wide_file(16500, *(latin(text) for text, _ in self.TEXTS))
        for form in "jsonl", "csv":
            self.assertEqual([self.CUT + str(lost)], self.warnings_of("cat", file, "--format", form, "--raw"))
        self.warnings_of("cat", file, "--format", "jsonl", "--raw")
        self.assertEqual(self.expected(), [json.loads(line) for line in self.printed.splitlines()])
        out = self.folder / "out.quav"
        for suffix in "quav", "jsonl":
            out = self.folder / ("out." + suffix)
            self.assertEqual([self.CUT + str(lost)], self.warnings_of("convert", file, out))
        self.assertEqual(self.expected(), [json.loads(line) for line in out.read_text().splitlines()])
        self.assertEqual(self.expected(), self.case_list(self.folder / "out.quav"))

    def test_rows_and_columns_are_counted_as_they_are_written(self):
        file = self.wide_file(16500, *(latin(text) for text, _ in self.TEXTS))
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--rows", "2:3", "--columns", "n,t"))
        self.assertEqual("N,t\n2," + "é" * 16383 + "\n", self.printed)
        self.assertEqual([], self.warnings_of("cat", file, "--rows", "0:2"))
        self.assertEqual([], self.warnings_of("cat", file, "--columns", "N"))

    def test_strings_that_fit_always_lose_nothing(self):
        for width in 10922, 10923:
            with self.subTest(width):
                file = self.wide_file(width, latin("€" * width), latin("€" * (width - 1)))
                lost = [] if width == 10922 else [self.CUT + "1"]
                self.assertEqual(lost, self.warnings_of("cat", file, "--columns", "t"))
                self.assertEqual("t\n" + "€" * 10922 + "\n" + "€" * (width - 1) + "\n", self.printed)

    def test_four_byte_characters_are_cut_whole(self):
        text = "\U0001d11e" * 8192  # 4 bytes in GB18030 and in UTF-8
        file = self.convert(self.csv_file("t,n\n" + text[:8190] + ",1\n"), "--encoding", "GB18030", name="gb.quav")
        self.assertEqual([[text[:8190], 1]], self.case_list(file))
        # 2 bytes in GB18030, 3 in UTF-8; the last character is across the border.
        text = "中" * 10921 + "\U0001d11e" + "xx"
        file = self.wide_file(24000, text.encode("gb18030"), page=54936)
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--columns", "t"))
        self.assertEqual("t\n" + text[:10922] + "\n", self.printed)
        text = "中" * 10921 + "x\U0001d11e"
        file = self.wide_file(24000, text.encode("gb18030"), page=54936)
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file, "--columns", "t"))
        self.assertEqual("t\n" + text[:10922] + "\n", self.printed)

    def test_append_to_a_file_in_a_code_page_cuts_nothing(self):
        file = self.wide_file(16500)
        text = "é" * 16500
        cases = self.csv_file(f"t,N\n{text},1\n")
        self.assertEqual([], self.warnings_of("append", file, cases))
        self.assertEqual([self.CUT + "1"], self.warnings_of("cat", file))
        self.fails(1, "append", file, self.csv_file(f"t,N\n{text}é,1\n"))


class LossWatch(EncodingTest):
    def test_ascii_loses_nothing_where_it_has_other_bytes(self):
        rows = "".join(f"x,{chr(code)}y\n" for code in range(1, 127) if chr(code) not in '\n\r",')
        for encoding in "IBM037", "IBM1026", "IBM01147", "IBM864", "windows-1252":
            with self.subTest(encoding):
                out = self.folder / "out.quav"
                self.assertEqual([], self.warnings_of("convert", self.csv_file("a,b\n" + rows), out, "--encoding", encoding))
                self.assertEqual(126 - 4, len(self.case_list(out)))

    def test_values_that_lose_text_in_ebcdic_are_counted(self):
        out = self.folder / "out.quav"
        warnings = self.warnings_of("convert", self.csv_file("a,b\nx,Ω\nyé,\t\n"), out, "--encoding", "IBM037")
        self.assertEqual(["values that lost text in IBM037: 1"], warnings)


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
