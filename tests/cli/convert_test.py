"""Runs `datasrc convert` as a person does, and over all samples.

    convert_test.py BINARY SAMPLES
"""

import csv
import io
import json
import os
import pathlib
import pty
import random
import signal
import stat
import struct
import subprocess
import sys
import time
import unittest

import tool_test
from system_file import SYSTEM_MISSING, SystemFile, format_word
from tool_test import DATE, DATE_TIME, MARCH_14, TIME, TIMEOUT, ToolTest, people, read_terminal

SAMPLES = pathlib.Path()
HEADER_SIZE = 176  # bytes, with the time of creation among them

# What a new file tells of itself and not of its contents.
OF_THE_FILE = {"compression", "byte_order", "encoding", "eye_catcher", "release", "timestamp", "extensions_found", "cases"}


def mr_set(**members):
    return {"name": "$s", "type": 1, "variables": ["a"], **members}


def document(*lines):
    return {"date": "2024-03-14", "lines": lines}


def trends(*date_variables):
    return {"period": [True, 12], "start": [1, 1], "date_variables": date_variables}


class ConvertTest(ToolTest):
    def text_file(self, text, name):
        path = self.folder / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path

    def csv_file(self, text, name="in.csv"):
        return self.text_file(text, name)

    def convert(self, source, *options, name="out.quav"):
        """The file that is made, when nothing is said about it."""
        out = self.folder / name
        self.assertEqual("", self.out("convert", source, out, *options))
        return out

    def info(self, file):
        return json.loads(self.out("info", "--json", file), parse_int=float)

    def variables(self, text, **options):
        return self.info(self.convert(self.csv_file(text), **options))["variables"]

    def raw_cases(self, file):
        return self.out("cat", "--format", "jsonl", "--raw", file)

    def case_list(self, file):
        return [json.loads(line) for line in self.raw_cases(file).splitlines()]

    def refused(self, source, *options, name="out.quav", status=1):
        """The one line of a failure that leaves no file."""
        before = sorted(os.listdir(self.folder))
        line = self.fails(status, "convert", source, self.folder / name, *options)
        self.assertEqual(before, sorted(os.listdir(self.folder)))
        return line

    def very_long_text(self, text):
        """A file with the string t of 300 bytes, which is stored in two parts."""
        system_file = SystemFile().variable("T", 255).variable("T0", 48)
        names, lengths = b"T=t", b"T=300\0\t"
        system_file.extension(13, 1, len(names), names).extension(14, 1, len(lengths), lengths)
        text = text.ljust(300)
        return system_file.case(text[:255], text[255:])

    def dictionary(self, tree, name="dictionary.json"):
        return self.text_file(json.dumps(tree), name)


class Columns(ConvertTest):
    """The types of CSV columns."""

    def column(self, *values, warning=None):
        """The type, the format's type, width and decimals, and the values of a column, raw."""
        rows = io.StringIO()
        writer = csv.writer(rows, lineterminator="\n")
        writer.writerow(["a", "b"])
        for value in values:
            writer.writerow([value, "x"])
        out = self.folder / "out.quav"
        done = self.run_tool("convert", self.csv_file(rows.getvalue()), out)
        self.assertEqual(0, done.returncode, done.stderr)
        if warning is None:
            self.assertEqual("", done.stderr)
        else:
            self.assertRegex(done.stderr, rf"\Adatasrc: warning: the column a {warning}[^\n]*: [^\n]*in\.csv\n\Z")
        variable = self.info(out)["variables"][0]
        self.assertEqual(variable["print"], variable["write"])
        return variable["type"], variable["print"], [case[0] for case in self.case_list(out)]

    def number(self, *values):
        kind, form, numbers = self.column(*values)
        self.assertEqual((0, 5), (kind, form[0]))
        return form[1:], numbers

    def text(self, *values, warning=None):
        kind, _, texts = self.column(*values, warning=warning)
        self.assertEqual(list(values), texts)
        return kind

    def test_whole_numbers(self):
        self.assertEqual(([4, 0], [1, -200, None, 0]), self.number("1", "-200", "", "0"))

    def test_fractions(self):
        self.assertEqual(([7, 3], [1.5, -22.125, 0.5, 7]), self.number("1.50", "-22.125", ".5", "7."))

    def test_signs_and_exponents(self):
        self.assertEqual([1, 1e5, 0.0012, -100], self.number("+1", "1e5", "1.2E-3", "-1e+2")[1])
        self.assertEqual([6, 4], self.number("1.2E-3", "1")[0])

    def test_minus_zero_stays(self):
        zero = self.number("-0.0", "1")[1][0]
        self.assertEqual(struct.pack("<d", -0.0), struct.pack("<d", zero))

    def test_many_digits_that_come_back(self):
        texts = ("0.30000000000000004", "0.10000000000000001", "12345678901234567000", "9007199254740992", "5e-324")
        for text in texts:
            with self.subTest(text=text):
                self.assertEqual([float(text)], self.number(text)[1])

    def test_very_large_numbers_are_shown_scientific(self):
        self.assertEqual((0, 17), (self.column("1e300", "1")[0], self.column("1e300", "1")[1][0]))

    def test_numbers_that_would_change_are_text(self):
        for text in ("007", "-01", "123456789012345678", "9007199254740993", "1e400", "1e-400"):
            with self.subTest(text=text):
                self.assertEqual(len(text), self.text(text, warning="looks like numbers and is kept as text"))

    def test_the_number_that_means_missing_is_text(self):
        self.text(repr(SYSTEM_MISSING), warning="looks like numbers")

    def test_what_is_no_number_is_text_without_a_word(self):
        for text in ("inf", "nan", "NaN", "1,5", "0x10", "1e", "-", ".", " 1", "1 ", "1_000", "e5", "--1"):
            with self.subTest(text=text):
                self.column(text)
                self.assertGreater(self.column(text)[0], 0)

    def test_a_late_text_makes_a_column_of_text(self):
        self.assertEqual(4, self.text(*[str(number) for number in range(5000)], "x"))

    def test_text_is_as_wide_as_the_widest_in_bytes(self):
        self.assertEqual(7, self.text("a", "Jürgen", ""))

    def test_a_column_without_values_is_a_number(self):
        self.assertEqual((0, [None, None]), (self.column("", "")[0], self.column("", "")[2]))

    def test_dates(self):
        self.assertEqual((0, [20, 11, 0], [MARCH_14, None]), self.column("2024-03-14", ""))

    def test_dates_and_times_of_day(self):
        self.assertEqual(
            (0, [22, 20, 0], [MARCH_14 + 37230, MARCH_14 + 1]),
            self.column("2024-03-14T10:20:30", "2024-03-14 00:00:01"),
        )
        self.assertEqual((0, [22, 22, 1], [MARCH_14 + 0.5]), self.column("2024-03-14T00:00:00.5"))

    def test_dates_among_dates_with_times(self):
        for values in (("2024-03-14", "2024-03-14T00:00:01"), ("2024-03-14T00:00:01", "2024-03-14")):
            kind, form, numbers = self.column(*values)
            self.assertEqual((0, 22, {MARCH_14, MARCH_14 + 1}), (kind, form[0], set(numbers)))

    def test_times_and_durations(self):
        values = ("10:20:30", "P1DT2H0M0S", "-P0DT1H0M0S", "00:00:00.25")
        kind, form, numbers = self.column(*values)
        self.assertEqual((0, 21, [37230, 93600, -3600, 0.25]), (kind, form[0], numbers))

    def test_what_is_no_date_or_time_is_text(self):
        for text in (
            "2024-02-30",
            "2023-02-29",
            "1582-10-13",
            "2024-3-14",
            "2024-03-14T10:20",
            "2024-03-14T24:00:00",
            "2024-03-14T10:20:60",
            "2024-03-14T10:20:30Z",
            "2024-03-14T",
            "24:00:00",
            "10:20",
            "PT1H",
            "P1D",
            "P1DT24H0M0S",
            "10:20:30.",
        ):
            with self.subTest(text=text):
                self.text(text)

    def test_fractions_finer_than_a_date_can_hold_stay_text(self):
        self.text("2024-03-14T10:20:30.123456789", warning="looks like dates or times")

    def test_mixtures_are_text(self):
        for values in (("2024-03-14", "5"), ("5", "2024-03-14"), ("10:20:30", "2024-03-14"), ("007", "x")):
            with self.subTest(values=values):
                self.text(*values)

    def test_the_widest_text(self):
        text = "x" * 32767
        self.assertEqual(32767, self.text(text, "y"))
        line = self.refused(self.csv_file("long\n" + text + "x\n"))
        self.assertRegex(line, r"error: the column long has a value of 32768 bytes")

    def test_every_value_comes_back(self):
        seed = random.randrange(1 << 32)
        source = random.Random(seed)

        def number():
            return source.choice(
                [
                    lambda: str(source.randint(-(10**6), 10**6)),
                    lambda: repr(struct.unpack("<d", struct.pack("<Q", source.getrandbits(63)))[0]),
                    lambda: f"{source.uniform(-1e6, 1e6):.{source.randint(0, 12)}f}",
                    lambda: str(source.getrandbits(source.randint(1, 70))),
                    lambda: f"{source.uniform(0, 1):.17g}",
                ]
            )()

        values = [[number() for _ in range(40)] for _ in range(50)]
        header = ",".join(f"v{i}" for i in range(40)) + "\n"
        file = self.csv_file(header + "".join(",".join(row) + "\n" for row in values))
        out = self.folder / "out.quav"
        self.assertEqual(0, self.run_tool("convert", file, out).returncode)
        for expected, actual in zip(values, self.case_list(out), strict=True):
            for text, value in zip(expected, actual, strict=True):
                same = value == text if isinstance(value, str) else float(text) == value
                self.assertTrue(same, f"{text} became {value!r}, seed {seed}")


class Names(ConvertTest):
    def names(self, header):
        fields = header.count(",")
        return [(one["name"], one["label"]) for one in self.variables(f"{header}\n" + "1" + ",1" * fields + "\n")]

    def test_legal_names_have_no_label(self):
        self.assertEqual([("Id", None), ("größe", None)], self.names("Id,größe"))

    def test_mended_names_keep_the_old_text_as_label(self):
        self.assertEqual([("mypay", "my pay"), ("@1st", "1st"), ("@all", "all")], self.names("my pay,1st,all"))

    def test_names_that_differ_by_case_alone(self):
        self.assertEqual([("x", None), ("X_A", "X"), ("x_B", "x")], self.names("x,X,x"))

    def test_empty_names(self):
        self.assertEqual([("V1", None), ("V2", None)], self.names(","))

    def test_long_names_are_cut_between_characters(self):
        name = "ä" * 40
        self.assertEqual([("ä" * 32, name)], self.names(name))

    def test_many_columns(self):
        header = ",".join(f"column number {i}" for i in range(10000))
        variables = self.variables(header + "\n" + ",".join(["1"] * 10000) + "\n")
        self.assertEqual((10000, "columnnumber9999"), (len(variables), variables[-1]["name"]))


class Csv(ConvertTest):
    def rows(self, text):
        return self.case_list(self.convert(self.csv_file(text)))

    def test_lines_that_end_in_cr_lf(self):
        self.assertEqual([[1, "a"], [2, ""]], self.rows("x,y\r\n1,a\r\n2,\r\n"))

    def test_a_last_line_without_an_end(self):
        self.assertEqual([["a", "b"]], self.rows("x,y\na,b"))
        self.assertEqual([[1, None]], self.rows("x,y\n1,"))

    def test_quotes(self):
        text = 'x,y\n"a ""b"", c","d\ne\r\nf"\n"",in"side\n'
        self.assertEqual([['a "b", c', "d\ne\r\nf"], ["", 'in"side']], self.rows(text))

    def test_a_byte_order_mark(self):
        self.assertEqual("x", self.variables(b"\xef\xbb\xbfx\n1\n")[0]["name"])

    def test_an_empty_line_of_one_column_is_a_case(self):
        self.assertEqual([[1], [None], [2]], self.rows('x\n1\n\n2\n'))

    def test_no_cases(self):
        self.assertEqual([], self.rows("x,y\n"))

    def test_records_of_many_pieces(self):
        long = "y" * 300_000
        rows = [["1", "x" * 3000]] * 400
        text = "a,b\n" + "".join(f"{a},{b}\n" for a, b in rows)
        self.assertEqual([[1, "x" * 3000]] * 400, self.rows(text))
        self.assertIn("300000 bytes", self.refused(self.csv_file("a,b\n" + f'1,"{long}"\n')))

    def test_errors_tell_the_line(self):
        for text, trouble in (
            ('a,b\n1,2\n"x,3\n4,5\n', r"a quote that begins a field is never closed \(at line 3\)"),
            ('a,b\n1,2\n"x"y,3\n', r"text follows a closing quote \(at line 3\)"),
            ('a,b\n"x\ny",2\n3\n', r"there are 1 fields where the header names 2 \(at line 4\)"),
            ("a,b\n1,2,3\n", r"there are 3 fields where the header names 2 \(at line 2\)"),
            ("a,b\n1,2\n\n", r"there are 1 fields where the header names 2 \(at line 3\)"),
            (b"a\nx\n\xff\n", r"the text is not UTF-8 \(at line 3\)"),
            (b"\xff\n", r"the text is not UTF-8 \(at line 1\)"),
            ("", "there is no header line"),
        ):
            with self.subTest(text=text):
                self.assertRegex(self.refused(self.csv_file(text)), rf"\Adatasrc: error: {trouble}: .*in\.csv\n\Z")

    def test_a_stray_quote_does_not_take_the_whole_file(self):
        text = 'a\n"x\n' + "y\n" * 2_000_000
        self.assertRegex(self.refused(self.csv_file(text)), r"a quote may be missing \(at line 2\)")

    def test_a_zero_byte_in_a_very_long_string(self):
        self.assertEqual([["a\0b"]], self.rows(b"x\na\0b\n"))
        self.assertRegex(self.refused(self.csv_file(b"x\n" + b"y" * 251 + b"\0" + b"y" * 100 + b"\n")), "zero byte")

    def test_very_long_text_ends_between_characters(self):
        text = "x" + "€" * 400
        for locale in ("C", "C.UTF-8", "de_DE.UTF-8", ""):
            with self.subTest(locale=locale):
                out = self.folder / "out.quav"
                environment = {**os.environ, "LC_ALL": locale}
                source = self.csv_file(f"a\n{text}\n")
                done = self.run_tool("convert", source, out, "--compress", "none", env=environment)
                self.assertEqual((0, ""), (done.returncode, done.stderr))
                self.assertEqual([[text]], self.case_list(out))
                contents = out.read_bytes()
                for segment in range(4):
                    start = contents.rindex(b"x\xe2\x82\xac") + 256 * segment
                    contents[start : start + 255].rstrip(b"\0 ").decode("utf-8")

    def test_csv_of_cat_makes_the_same_cases(self):
        file = self.file(people())
        again = self.convert(self.csv_file(self.out("cat", file)))
        expected = [
            [1, "Ann", "u", "2024-03-14", 1234.5],
            [2, "Jürgen", "?", "2024-03-14T10:20:30", -9],
            [3, 'a "b", c', "", "", None],
            [4.5, " blank", "x", "-1", -0.0],
        ]
        self.assertEqual(expected, self.case_list(again))


class Text(ConvertTest):
    """CSV and JSON lines as the output."""

    def test_csv_and_json_lines_are_those_of_cat(self):
        file = self.file(people())
        for name, form in (("out.csv", "csv"), ("out.jsonl", "jsonl"), ("OUT.CSV", "csv")):
            with self.subTest(name=name):
                out = self.convert(file, name=name)
                self.assertEqual(self.out("cat", file, "--format", form), out.read_text(encoding="utf-8"))

    def test_from_text_to_text(self):
        out = self.convert(self.csv_file("a,b\n1.50,x\n,y\n"), name="out.jsonl")
        self.assertEqual('[1.5,"x"]\n[null,"y"]\n', out.read_text())

    def test_standard_output(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file), self.out("convert", file, "-", "--to", "csv"))
        self.assertEqual(self.out("cat", file, "--format", "jsonl"), self.out("convert", file, "-", "--to", "jsonl"))

    def test_a_form_that_is_named(self):
        out = self.convert(self.file(people()), "--to", "csv", name="out.txt")
        self.assertTrue(out.read_text(encoding="utf-8").startswith("id,"))
        again = self.convert(out, "--from", "csv")
        self.assertEqual(4, len(self.case_list(again)))

    def test_a_file_without_variables(self):
        file = self.file(SystemFile(cases=3))
        self.assertEqual(b"", self.convert(file, name="out.csv").read_bytes())


class StandardInput(ConvertTest):
    def from_pipe(self, contents, *options):
        out = self.folder / "out.quav"
        done = subprocess.run(
            [tool_test.BINARY, "convert", "-", out, *options],
            input=contents,
            capture_output=True,
            timeout=TIMEOUT,
            check=False,
        )
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        return out

    def test_csv_is_looked_at_twice(self):
        self.assertEqual([[1, "x"], [2, ""]], self.case_list(self.from_pipe(b"a,b\n1,x\n2,\n")))

    def test_csv_that_is_too_large_for_memory(self):
        contents = b"a,b\n" + b"".join(b"%d,%s\n" % (i, b"x" * 100) for i in range(200_000))
        cases = self.case_list(self.from_pipe(contents))
        self.assertEqual([[i, "x" * 100] for i in range(200_000)], cases)

    def test_json_lines_are_known_by_their_bracket(self):
        file = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        self.assertEqual([[1], [2]], self.case_list(self.from_pipe(b"[1]\n[2]\n", "--dictionary", file)))

    def test_a_file_as_standard_input(self):
        source = self.csv_file("a\n1\n2\n")
        with open(source, "rb") as stream:
            done = self.run_tool("convert", "-", self.folder / "out.quav", stdin=stream)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual([[1], [2]], self.case_list(self.folder / "out.quav"))

    def test_a_named_pipe(self):
        pipe = self.folder / "pipe.csv"
        os.mkfifo(pipe)
        with subprocess.Popen(["sh", "-c", f"printf 'a\\n1\\n' > '{pipe}'"]):
            self.assertEqual([[1]], self.case_list(self.convert(pipe)))


class Dictionary(ConvertTest):
    TREE = {
        "label": "A label",
        "weight": "w",
        "variables": [
            {"name": "w", "type": 0, "label": "weights", "missing": {"code": -3, "values": ["lowest", -1, 99]}},
            {
                "name": "t",
                "type": 5,
                "print": [1, 5, 0],
                "missing": {"code": 1, "values": ["?"]},
                "value_labels": [["u", "Ulm"], ["b", "Bonn"]],
                "measure": 1,
                "display_width": 7,
                "alignment": 2,
            },
            {"name": "d", "type": 0, "print": [20, 11, 0], "write": [20, 11, 0], "value_labels": []},
        ],
    }

    def from_csv(self, text, tree=None):
        return self.convert(self.csv_file(text), "--dictionary", self.dictionary(tree or self.TREE))

    def test_members(self):
        info = self.info(self.from_csv("w,t,d\n007,x,2024-03-14\n"))
        self.assertEqual(("A label", "w"), (info["label"], info["weight"]))
        w, t, d = info["variables"]
        self.assertEqual({"code": -3, "values": ["lowest", -1, 99]}, w["missing"])
        self.assertEqual(("weights", [5, 8, 2]), (w["label"], w["print"]))
        self.assertEqual(sorted([["b", "Bonn"], ["u", "Ulm"]]), sorted(t["value_labels"]))
        self.assertEqual((5, 1, 7, 2), (t["type"], t["measure"], t["display_width"], t["alignment"]))
        self.assertEqual([20, 11, 0], d["print"])
        self.assertEqual([[7, "x", MARCH_14]], self.case_list(self.folder / "out.quav"))

    def test_columns_in_another_order(self):
        self.assertEqual([[1, "x", 5], [None, "y", None]], self.case_list(self.from_csv("T,d,W\nx,5,1\ny,,\n")))

    def test_numbers_without_digits(self):
        text = self.raw_cases(self.from_csv("w,t,d\nNaN,NaN,Infinity\n-Infinity,,\n"))
        self.assertEqual('["NaN","NaN","Infinity"]\n["-Infinity","",null]\n', text)

    def test_trailing_blanks_do_not_count(self):
        self.assertEqual([[None, "12345", None]], self.case_list(self.from_csv("w,t,d\n,12345   ,\n")))

    def test_values_that_do_not_fit(self):
        file = self.dictionary(self.TREE)
        for row, trouble in (
            ("x,,", "the value 'x' of w is no number"),
            ("2024-03-14,,", "of w is no number"),
            (",123456,", "the value '123456' of t is too long"),
            (",,10:20:30", "of d is neither a number nor a date"),
            ("123456789012345678,,", "of w has more digits than"),
            ("1e999,,", "of w has more digits than"),
            ("-1.7976931348623157e308,,", "of w is the number that stands for a missing value"),
        ):
            with self.subTest(row=row):
                line = self.refused(self.csv_file(f"w,t,d\n1,,\n{row}\n"), "--dictionary", file)
                self.assertRegex(line, rf"\Adatasrc: error: .*{trouble}.* \(at line 3\): .*in\.csv\n\Z")

    def test_headers_that_do_not_fit(self):
        file = self.dictionary(self.TREE)
        for header, trouble in (
            ("w,t", "no column for the variable d"),
            ("w,t,d,e", "the header names e, and there is no such variable"),
            ("w,t,d,W", "the header names W twice"),
        ):
            with self.subTest(header=header):
                self.assertIn(trouble, self.refused(self.csv_file(header + "\n"), "--dictionary", file))

    def test_json_lines(self):
        text = '[1,"x",13929753600]\n[null,null,null]\n[-0.0,"","2024-03-14"]\n["NaN","ü",1e3]'
        out = self.convert(self.text_file(text, "in.jsonl"), "--dictionary", self.dictionary(self.TREE))
        self.assertEqual(
            f'[1,"x",{MARCH_14:.0f}]\n[null,"",null]\n[-0.0,"",{MARCH_14:.0f}]\n["NaN","ü",1000]\n',
            self.raw_cases(out),
        )

    def test_json_lines_that_do_not_fit(self):
        file = self.dictionary(self.TREE)
        for line, trouble in (
            ("[1]", "there are 1 values for the 3 variables"),
            ('[1,"",2,3]', "there are more values than the 3 variables"),
            ('["x","",2]', "the value 'x' of w is no number"),
            ('["5","",2]', "the value '5' of w is text where a number is due"),
            ("[1,5,2]", "the value '5' of t is a number where text is due"),
            ('[1,"123456",2]', "the value '123456' of t is too long"),
            ("[true,null,null]", "the value 'true' of w is no value of a case"),
            ("[[1],null,null]", "a case is a list of values"),
            ('{"w":1}', "a case is a list of values"),
            ("1", "a case is a list of values"),
            ('[1,"x",2', "this is no JSON"),
            ('[1,"x",2]]', "this is no JSON"),
            ("", "this is no JSON"),
            ("[123456789012345678,null,null]", "has more digits than"),
            ("[0.1234567890123456789,null,null]", "has more digits than"),
            ("[-1.7976931348623157e308,null,null]", "stands for a missing value"),
        ):
            with self.subTest(line=line):
                source = self.text_file(f"[1,null,null]\n{line}\n", "in.jsonl")
                message = self.refused(source, "--dictionary", file)
                self.assertIn(trouble, message)
                self.assertRegex(message, r"\(at line 2\): .*in\.jsonl\n\Z")

    def test_bad_dictionaries(self):
        def one(**members):
            return {"variables": [{"name": "a", "type": 0, **members}]}

        for tree, trouble in (
            ({}, "the dictionary has no member variables"),
            ([], "the dictionary is no object"),
            ({"variables": []}, "variables has no variable"),
            ({"variables": [{"type": 0}]}, r"variables\[0\] has no member name"),
            ({"variables": [{"name": "a"}]}, r"variables\[0\] has no member type"),
            (one(name="a b"), r"variables\[0\].name is no name of a variable"),
            (one(name="x" * 65), r"variables\[0\].name is no name"),
            (one(type=32768), r"variables\[0\].type is no whole number from 0 to 32767"),
            (one(type=1.5), r"variables\[0\].type is no whole number"),
            (one(type=-1), r"variables\[0\].type is no whole number"),
            ({"variables": [{"name": "a", "type": 0}, {"name": "A", "type": 0}]}, r"variables\[1\] has the name A"),
            (one(print=[5, 8]), r"variables\[0\].print is no list of 3"),
            (one(label=5), r"variables\[0\].label is no text"),
            (one(missing={"code": 2, "values": [1]}), r"variables\[0\].missing.values is no list of 2"),
            (one(missing={"code": -1, "values": [1]}), r"variables\[0\].missing has a code"),
            (one(value_labels=[["x", "y"]]), r"variables\[0\].value_labels\[0\]\[0\] is no number"),
            (one(type=2, value_labels=[["xyz", "y"]]), r"variables\[0\].value_labels\[0\]\[0\] is longer than"),
            (one(measure=9), r"variables\[0\].measure is no whole number from 0 to 5"),
            ({**one(), "weight": "b"}, "weight names no variable"),
            ({**one(type=5), "weight": "a"}, "weight names a variable that is no number"),
            ({**one(), "mr_sets": [mr_set(variables=["b"])]}, r"mr_sets\[0\].variables\[0\] names no"),
            ({**one(), "mr_sets": [mr_set(name="s")]}, r"mr_sets\[0\].name must begin with \$"),
            ({**one(), "variable_sets": [mr_set(type=0)]}, r"variable_sets\[0\].name must begin with \$"),
            ({**one(), "mr_sets": [mr_set(name="$a=b")]}, r"mr_sets\[0\].name is no name of a set"),
            ({**one(), "mr_sets": [mr_set(label="a\nb")]}, r"mr_sets\[0\].label holds a line break"),
            ({**one(), "mr_sets": [mr_set(type=2)]}, r"mr_sets\[0\] counts no value"),
            ({**one(), "attributes": [["x", ["a\nb"]]]}, r"attributes\[0\]\[1\]\[0\] holds a line break, which the attribute x"),
            ({**one(), "attributes": [["1x", ["a"]]]}, r"attributes\[0\]\[0\] is no name of an attribute"),
            (one(attributes=[["x", ["a\nb"]]]), r"variables\[0\].attributes\[0\]\[1\]\[0\] holds a line break"),
            ({**one(), "documents": [{"date": "x", "lines": []}]}, r"documents\[0\].date is no date"),
            ({**one(), "documents": [document("x" * 81)]}, r"documents\[0\].lines\[0\] is longer than the 80 bytes"),
            ({**one(), "documents": [document("   (Entered 99-Mar-24)")]}, r"documents\[0\].lines\[0\] is a date line"),
            ({**one(), "trends": trends(*[[None, 0, 1]] * 12)}, r"trends.date_variables has more than 10"),
            ({**one(), "trends": trends(["a", 2, 1], ["a", 2, 1])}, r"trends.date_variables\[1\]\[1\] is no type of"),
            ({**one(), "trends": trends(["b", 2, 1], [None, 0, 1])}, r"trends.date_variables\[0\]\[0\] names no"),
            ({**one(), "sort_keys": [[1, 0, 0]]}, r"sort_keys\[0\]\[0\] is no whole number from 0 to 0"),
        ):
            with self.subTest(tree=tree):
                line = self.refused(self.csv_file("a\n"), "--dictionary", self.dictionary(tree))
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}.*: .*dictionary\.json\n\Z")

    def test_a_dictionary_that_is_no_json(self):
        file = self.text_file('{"variables": [', "dictionary.json")
        self.assertRegex(self.refused(self.csv_file("a\n"), "--dictionary", file), r"is no JSON \(at byte 16\)")

    def test_documents_get_their_date_line(self):
        tree = {**self.TREE, "documents": [document("first", "second"), document("   (Entered 01-Jan-01)")]}
        out = self.convert(self.csv_file("w,t,d\n"), "--dictionary", self.dictionary(tree))
        self.assertEqual(
            [
                {"date": "2024-03-14", "lines": ["first", "second", "   (Entered 14-Mar-2024)"]},
                {"date": "2001-01-01", "lines": ["   (Entered 01-Jan-01)"]},
            ],
            self.info(out)["documents"],
        )

    def test_trends_that_do_not_fit_the_variables_are_left_out_with_a_warning(self):
        file = self.dictionary({**self.TREE, "trends": trends(["w", 2, 1], [None, 0, 1])})
        done = self.run_tool("convert", self.csv_file("w,t,d\n"), self.folder / "out.quav", "--dictionary", file)
        self.assertEqual(0, done.returncode)
        self.assertRegex(done.stderr, r"\Adatasrc: warning: the date variables [^\n]*: .*dictionary\.json\n\Z")


class SystemFiles(ConvertTest):
    def test_compression(self):
        file = self.file(people())
        kinds = [(["--compress", kind], kind) for kind in ("none", "bytecode", "zlib")]
        for options, kind in ([], "none"), *kinds:
            with self.subTest(options=options):
                out = self.convert(file, *options)
                self.assertEqual(kind, self.info(out)["compression"])
                self.assertEqual(self.raw_cases(file), self.raw_cases(out))
        coded = self.convert(self.csv_file("a\n1\n"))
        self.assertEqual("bytecode", self.info(coded)["compression"])
        self.assertEqual("bytecode", self.info(self.convert(coded, name="2.quav"))["compression"])
        blocks = self.convert(coded, "--compress", "zlib", name="3.quav")
        self.assertEqual("zlib", self.info(self.convert(blocks, name="4.quav"))["compression"])

    def test_raw_blocks_go_along(self):
        blocks = SystemFile().variable("A").extension(99, 4, 3, b"x" * 12).extension(150, 8, 1, b"y" * 8)
        file = self.file(blocks.case(1))
        self.assertEqual(self.info(file)["extensions"], self.info(self.convert(file))["extensions"])
        self.assertIn(b"x" * 12, (self.folder / "out.quav").read_bytes())

    def test_the_weight_goes_along(self):
        tree = {"weight": "b", "variables": [{"name": "a", "type": 9}, {"name": "b", "type": 0}]}
        weighted = self.convert(self.csv_file("a,b\nx,1\n"), "--dictionary", self.dictionary(tree), name="w.quav")
        self.assertEqual("b", self.info(self.convert(weighted))["weight"])

    def test_a_file_without_variables(self):
        self.assertIn("without variables cannot be written", self.refused(self.file(SystemFile())))

    def test_a_file_is_in_utf8_whatever_its_input_is(self):
        source = self.convert(self.csv_file("größe,ä\nçà,1\n"), "--encoding", "windows-1252", name="in.quav")
        self.assertEqual("UTF-8", self.info(self.convert(source))["encoding"])
        self.assertEqual("UTF-8", self.info(self.convert(source, "--encoding", "utf8"))["encoding"])

    def test_another_encoding(self):
        text = "größe,ä\nçà,1\nab,2\n"
        for encoding in "windows-1252", "ISO-8859-15", "windows-1254":
            with self.subTest(encoding):
                file = self.convert(self.csv_file(text), "--encoding", encoding)
                info = self.info(file)
                self.assertEqual(encoding, info["encoding"])
                self.assertEqual(["größe", "ä"], [one["name"] for one in info["variables"]])
                self.assertEqual([["çà", 1], ["ab", 2]], self.case_list(file))
                file.unlink()

    def test_another_encoding_keeps_very_long_text(self):
        text = "é" * 1000
        file = self.convert(self.csv_file(f"a,b\n{text},1\n"), "--encoding", "windows-1252")
        self.assertEqual([[text, 1]], self.case_list(file))

    def test_text_that_the_encoding_lacks_is_told(self):
        out = self.folder / "out.quav"
        done = self.run_tool("convert", self.csv_file("größe,Ω\nx,1\n"), out, "--encoding", "windows-1252")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertRegex(done.stderr, r"\Adatasrc: warning 1712: .*windows-1252.*out\.quav\n\Z")

    def test_values_that_lose_text_are_counted(self):
        text = "größe,ä\nçà,x\nΩ,y\nΩΩ,ü\n"
        for encoding, count in ("windows-1252", 2), ("GB18030", 1):
            with self.subTest(encoding):
                out = self.folder / "out.quav"
                done = self.run_tool("convert", self.csv_file(text), out, "--encoding", encoding)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertRegex(done.stderr, rf"\Adatasrc: warning: values that lost text in {encoding}: {count}: .*\n\Z")

    def test_very_long_text_that_is_no_utf8_is_mended(self):
        texts = (b"a\xffb", b"\xe4" * 40, b"x" * 100 + b"\xff" + b"y" * 180, b"\xff" + b"z" * 297)
        for text in texts:
            with self.subTest(text=text):
                file = self.file(self.very_long_text(text))
                out = self.folder / "out.quav"
                done = self.run_tool("convert", file, out)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertRegex(done.stderr, r"\Adatasrc: warning: values with bytes that are no text in UTF-8, [^:]*: 1: ")
                self.assertEqual(self.case_list(file), self.case_list(out))
                self.assertEqual([[text.decode(errors="replace")]], self.case_list(out))
                self.assertNotIn(0, out.read_bytes()[-38 * 8 :])

    def test_mended_text_that_no_longer_fits_loses_its_end(self):
        out = self.folder / "out.quav"
        self.run_tool("convert", self.file(self.very_long_text(b"\xff" + b"z" * 299)), out)
        self.assertEqual([["\ufffd" + "z" * 297]], self.case_list(out))

    def test_very_long_text_that_is_utf8_is_not_mended(self):
        for text in ("ä" * 150, "z" * 300, ""):
            with self.subTest(text=text):
                out = self.convert(self.file(self.very_long_text(text.encode())))
                self.assertEqual([[text]], self.case_list(out))

    EBCDIC = ["IBM037", "IBM500", "IBM870", "IBM1026", "IBM1047", *(f"IBM0{number}" for number in range(1140, 1150))]

    def there_and_back(self, file, encoding):
        """What the conversion to the encoding says. When it makes a file, that one converts back."""
        out = self.folder / "there.quav"
        done = self.run_tool("convert", file, out, "--encoding", encoding)
        self.assertIn(done.returncode, (0, 1), done.stderr)
        self.assertEqual(done.returncode == 0, out.exists())
        if out.exists():
            back = self.run_tool("convert", out, self.folder / "back.quav")
            self.assertIn(back.returncode, (0, 1), back.stderr)
            out.unlink()
        return done

    def test_metadata_in_ebcdic(self):
        file = SAMPLES / "metadata.quav"
        tree = json.loads(self.out("info", "--json", file))
        cases = self.text_file(self.raw_cases(file), "in.jsonl")
        del tree["mr_sets"]
        without_sets = self.convert(cases, "--dictionary", self.dictionary(tree), name="without_sets.quav")
        tree["attributes"] = []
        for variable in tree["variables"]:
            variable["attributes"] = []
        plain = self.convert(cases, "--dictionary", self.dictionary(tree), name="plain.quav")
        for encoding in self.EBCDIC:
            with self.subTest(encoding):
                self.assertIn('does not begin with the byte of "$"', self.there_and_back(file, encoding).stderr)
                self.there_and_back(without_sets, encoding)
                done = self.there_and_back(plain, encoding)
                self.assertEqual(0, done.returncode, done.stderr)

    def test_plain_text_in_ebcdic_and_back(self):
        text = "age,name\n1,Ab C\n2,xyz\n"
        for encoding in self.EBCDIC:
            with self.subTest(encoding):
                there = self.convert(self.csv_file(text), "--encoding", encoding, name="there.quav")
                self.assertEqual(encoding, self.info(there)["encoding"])
                back = self.convert(there, name="back.quav")
                self.assertEqual(["age", "name"], [one["name"] for one in self.info(back)["variables"]])
                self.assertEqual([[1, "Ab C"], [2, "xyz"]], self.case_list(back))

    def test_an_attribute_that_becomes_two_lines_is_refused(self):
        """Byte 25 is a line feed in code page 37."""
        text = b"\x95('\x81\x25\x82'\n)"
        file = SystemFile().variable("\u0081")
        parameters = struct.pack("=8i", 25, 0, 1, 720, 1, 1, 2, 37)
        file = self.file(file.extension(3, 4, 8, parameters).extension(17, 1, len(text), text).case(1))
        self.assertIn("error 1508", self.refused(file))

    def test_an_encoding_that_no_file_can_be_in(self):
        for name in "klingon", "UTF-16", "":
            self.assertIn("is no encoding", self.refused(self.csv_file("a\n1\n"), "--encoding", name, status=2))

    def test_a_file_that_is_cut(self):
        self.assertIn("error 1205", self.refused(self.file(people().bytes()[:-1])))
        self.assertIn("error 1205", self.refused(self.file(people().bytes()[:-1]), name="out.csv"))

    def test_dates_and_times_in_csv_and_back(self):
        system_file = SystemFile().variable("A", print_format=DATE_TIME).variable("B", print_format=TIME)
        system_file.variable("C", print_format=DATE).variable("D", print_format=format_word(5, 12, 3))
        system_file.case(MARCH_14, 37230.5, MARCH_14, 1.5).case(MARCH_14 + 0.25, 93600, None, -1e10)
        file = self.file(system_file)
        again = self.convert(self.convert(file, name="out.csv"))
        self.assertEqual(self.raw_cases(file), self.raw_cases(again))


class Samples(ConvertTest):
    def samples(self):
        samples = sorted(SAMPLES.glob("*.quav"))
        self.assertTrue(samples, f"no samples at {SAMPLES}")
        return samples

    def contents(self, file):
        info = self.info(file)
        return {name: value for name, value in info.items() if name not in OF_THE_FILE}

    def assert_same(self, expected, actual):
        self.assertEqual(self.contents(expected), self.contents(actual))
        self.assertEqual(self.raw_cases(expected), self.raw_cases(actual))

    def test_system_files_keep_their_contents(self):
        for sample in self.samples():
            for kind in ("none", "bytecode", "zlib"):
                with self.subTest(sample=sample.name, kind=kind):
                    out = self.convert(sample, "--compress", kind)
                    self.assertEqual(kind, self.info(out)["compression"])
                    self.assert_same(sample, out)

    def test_json_rebuilds_a_file(self):
        for sample in self.samples():
            with self.subTest(sample=sample.name):
                dictionary = self.text_file(self.out("info", "--json", sample), "dictionary.json")
                cases = self.text_file(self.raw_cases(sample), "cases.jsonl")
                out = self.folder / "out.quav"
                done = self.run_tool("convert", cases, out, "--dictionary", dictionary)
                self.assertEqual(0, done.returncode, done.stderr)
                rebuilt = self.contents(out)
                # Blocks are told by their size alone.
                rebuilt["extensions"] = self.contents(sample)["extensions"]
                self.assertEqual(self.contents(sample), rebuilt)
                self.assertEqual(self.raw_cases(sample), self.raw_cases(out))

    def test_csv_rebuilds_the_cases(self):
        for sample in self.samples():
            with self.subTest(sample=sample.name):
                dictionary = self.text_file(self.out("info", "--json", sample), "dictionary.json")
                rows = self.csv_file(self.out("cat", "--format", "csv", sample))
                out = self.folder / "out.quav"
                done = self.run_tool("convert", rows, out, "--dictionary", dictionary)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertEqual(self.raw_cases(sample), self.raw_cases(out))


class Usage(ConvertTest):
    def test_help(self):
        text = self.out("help", "convert")
        for option in ("--from", "--to", "--compress", "--encoding", "--dictionary"):
            self.assertIn(f"  {option} ", text)
        self.assertRegex(self.out("help"), r"(?m)^  convert ")

    def test_wrong_command_lines(self):
        file = self.file(people())
        rows = self.csv_file("a\n1\n")
        lines = self.text_file("[1]\n", "in.jsonl")
        dictionary = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        for arguments in (
            [file],
            [rows, "-"],
            [rows, self.folder / "x.quav", "--compress", "gzip"],
            [rows, self.folder / "x.quav", "--to", "xml"],
            [lines, self.folder / "x.quav"],
            [file, self.folder / "x.quav", "--dictionary", dictionary],
            [file, self.folder / "x.csv", "--compress", "none"],
            [file, self.folder / "x.csv", "--encoding", "UTF-8"],
        ):
            with self.subTest(arguments=arguments):
                self.fails(2, "convert", *arguments)
        with open(lines, "rb") as stream:
            self.fails(2, "convert", "-", self.folder / "x.quav", stdin=stream)

    def test_missing_files(self):
        dictionary = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        for name, options in (("no.csv", []), ("no.jsonl", ["--dictionary", dictionary]), ("no.quav", [])):
            with self.subTest(name=name):
                self.assertRegex(self.refused(self.folder / name, *options), r"error 1201: .*No such file.*: .*" + name)

    def test_a_folder_as_input(self):
        folder = self.folder / "in.csv"
        folder.mkdir()
        self.assertIn("Is a directory", self.refused(folder))

    def test_the_input_is_not_replaced(self):
        file = self.csv_file("a\n1\n")
        self.assertIn("would replace", self.fails(1, "convert", file, file, "--to", "quav"))
        self.assertEqual("a\n1\n", file.read_text())

    def test_progress_on_a_terminal(self):
        controller, terminal = pty.openpty()
        pipe = self.folder / "in.csv"
        os.mkfifo(pipe)
        with os.fdopen(controller, "rb", buffering=0) as reader:
            process = subprocess.Popen([tool_test.BINARY, "convert", pipe, self.folder / "out.quav"], stderr=terminal)
            os.close(terminal)
            with open(pipe, "wb") as writer:
                writer.write(b"a\n" + b"1\n" * 4096)
                writer.flush()
                time.sleep(1.2)
                writer.write(b"1\n" * 200_000)
            text = read_terminal(reader)
            self.assertEqual(0, process.wait(TIMEOUT))
        self.assertRegex(text, r"\d,\d{3} cases")
        self.assertTrue(text.endswith("\r\x1b[K"), "the line is wiped")


class Outputs(ConvertTest):
    ROWS = 60_000

    def large_csv(self):
        return self.csv_file("a,b\n" + "".join(f"{i},text number {i}\n" for i in range(self.ROWS)))

    def limited(self, size, *arguments):
        """Runs the tool where no file may be larger."""
        words = " ".join(f"'{word}'" for word in (tool_test.BINARY, *arguments))
        command = f"trap '' XFSZ; ulimit -f {size // 512}; exec {words}"
        done = subprocess.run(["sh", "-c", command], capture_output=True, timeout=TIMEOUT, check=False)
        return done.returncode, done.stderr.decode()

    def test_a_full_disk(self):
        source = self.large_csv()
        for options in ([], ["--compress", "none"], ["--compress", "zlib"]):
            for size in (0, 512, 64 * 1024):
                with self.subTest(options=options, size=size):
                    out = self.folder / "out.quav"
                    status, line = self.limited(size, "convert", source, out, *options)
                    self.assertEqual(1, status)
                    self.assertRegex(line, rf"\Adatasrc: error 1202: .*\(File too large\).*: {out}\n\Z")
                    self.assertEqual(["in.csv"], os.listdir(self.folder))

    def test_a_full_disk_leaves_the_old_file(self):
        out = self.folder / "out.quav"
        out.write_text("old")
        self.assertEqual(1, self.limited(4096, "convert", self.large_csv(), out)[0])
        self.assertEqual("old", out.read_text())
        self.assertEqual(["in.csv", "out.quav"], sorted(os.listdir(self.folder)))

    def test_a_full_device(self):
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), "/dev/full")
        self.assertRegex(line, r"\Adatasrc: error 1202: .*\(No space left on device\): /dev/full\n\Z")
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), "/dev/full", "--to", "csv")
        self.assertRegex(line, r"\Adatasrc: error: .*No space left on device.*: /dev/full\n\Z")

    def test_modes_and_links(self):
        source = self.csv_file("a\n1\n")
        mask = os.umask(0)
        os.umask(mask)
        self.assertEqual(0o666 & ~mask, stat.S_IMODE(self.convert(source).stat().st_mode))
        (self.folder / "out.quav").chmod(0o440)
        link = self.folder / "link.quav"
        link.symlink_to("out.quav")
        self.convert(self.csv_file("a\n1\n2\n"), name="link.quav")
        self.assertTrue(link.is_symlink())
        self.assertEqual(0o440, stat.S_IMODE(os.stat(link).st_mode))
        self.assertEqual([[1], [2]], self.case_list(link))
        self.assertEqual(["in.csv", "link.quav", "out.quav"], sorted(os.listdir(self.folder)))

    def test_a_folder_that_there_is_not(self):
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), self.folder / "no" / "out.quav")
        self.assertIn("No such file or directory", line)

    def knows_nameless_files(self):
        try:
            os.close(os.open(self.folder, os.O_TMPFILE | os.O_RDWR))
        except OSError:
            return False
        return True

    def test_a_killed_tool_leaves_nothing_half_written(self):
        if not self.knows_nameless_files():
            self.skipTest("the file system knows no nameless files")
        seed = random.randrange(1 << 32)
        source = random.Random(seed)
        file = self.large_csv()
        start = time.monotonic()
        whole = self.convert(file, name="whole.quav").read_bytes()[HEADER_SIZE:]
        duration = time.monotonic() - start
        left = 0
        for _ in range(40):
            out = self.folder / "out.quav"
            process = subprocess.Popen([tool_test.BINARY, "convert", file, out], stderr=subprocess.DEVNULL)
            time.sleep(source.uniform(0, 1.3 * duration))
            process.send_signal(signal.SIGKILL)
            process.wait(TIMEOUT)
            found = sorted(os.listdir(self.folder))
            if "out.quav" in found:
                self.assertEqual(whole, out.read_bytes()[HEADER_SIZE:], f"seed {seed}")
                out.unlink()
                found.remove("out.quav")
                left += 1
            self.assertEqual(["in.csv", "whole.quav"], found, f"seed {seed}")
        self.assertLess(left, 40, "none was killed in the middle of its work")


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
