"""Runs `datasrc convert` as a person does, and on all samples.

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
from system_file import SYSTEM_MISSING, SystemFile, format_word, late_variable
from tool_test import DATE, DATE_TIME, MARCH_14, TIME, TIMEOUT, ToolTest, good_samples, people, read_terminal, unsanitized

SAMPLES = pathlib.Path()
HEADER_SIZE = 176  # bytes, including the time of creation

# The members of `info --json` that describe a new file itself and not its contents.
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
        """Returns the file that is made. The tool must print nothing."""
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
        """Returns the one line of a failure that leaves no file."""
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
        """Returns a column's type, its format (type, width and decimals) and its raw values."""
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

    def test_whole_numbers_make_a_numeric_column(self):
        self.assertEqual(([4, 0], [1, -200, None, 0]), self.number("1", "-200", "", "0"))

    def test_fractions_set_the_decimals_of_the_format(self):
        self.assertEqual(([7, 3], [1.5, -22.125, 0.5, 7]), self.number("1.50", "-22.125", ".5", "7."))

    def test_signs_and_exponents_are_read(self):
        self.assertEqual([1, 1e5, 0.0012, -100], self.number("+1", "1e5", "1.2E-3", "-1e+2")[1])
        self.assertEqual([6, 4], self.number("1.2E-3", "1")[0])

    def test_minus_zero_keeps_its_sign(self):
        zero = self.number("-0.0", "1")[1][0]
        self.assertEqual(struct.pack("<d", -0.0), struct.pack("<d", zero))

    def test_long_numbers_that_come_back_are_numeric(self):
        texts = ("0.30000000000000004", "0.10000000000000001", "12345678901234567000", "9007199254740992", "5e-324")
        for text in texts:
            with self.subTest(text=text):
                self.assertEqual([float(text)], [float(number) for number in self.number(text)[1]])

    def test_very_large_numbers_get_the_scientific_format(self):
        self.assertEqual((0, 17), (self.column("1e300", "1")[0], self.column("1e300", "1")[1][0]))

    def test_numbers_that_would_change_are_text_with_a_warning(self):
        for text in ("007", "-01", "123456789012345678", "9007199254740993", "1e400", "1e-400"):
            with self.subTest(text=text):
                self.assertEqual(len(text), self.text(text, warning="looks like numbers but is kept as text"))

    def test_number_for_system_missing_is_text_with_a_warning(self):
        self.text(repr(SYSTEM_MISSING), warning="looks like numbers")

    def test_other_values_are_text_without_a_warning(self):
        for text in ("inf", "nan", "NaN", "1,5", "0x10", "1e", "-", ".", " 1", "1 ", "1_000", "e5", "--1"):
            with self.subTest(text=text):
                self.column(text)
                self.assertGreater(self.column(text)[0], 0)

    def test_text_in_a_late_row_makes_a_text_column(self):
        numbers = [str(number) for number in range(5000)]
        self.assertEqual(4, self.text(*numbers, "x", warning="is kept as text only because of its values 'x'"))
        self.assertEqual(4, self.text(*numbers, "w", "x", "y", "z"))

    def test_text_is_as_wide_as_the_widest_in_bytes(self):
        self.assertEqual(7, self.text("a", "Jürgen", ""))

    def test_column_without_values_is_numeric(self):
        self.assertEqual((0, [None, None]), (self.column("", "")[0], self.column("", "")[2]))

    def test_dates_make_a_date_column(self):
        self.assertEqual((0, [20, 11, 0], [MARCH_14, None]), self.column("2024-03-14", ""))

    def test_dates_with_times_make_a_date_and_time_column(self):
        self.assertEqual(
            (0, [22, 20, 0], [MARCH_14 + 37230, MARCH_14 + 1]),
            self.column("2024-03-14T10:20:30", "2024-03-14 00:00:01"),
        )
        self.assertEqual((0, [22, 22, 1], [MARCH_14 + 0.5]), self.column("2024-03-14T00:00:00.5"))

    def test_dates_mixed_with_dates_and_times_make_a_date_and_time_column(self):
        for values in (("2024-03-14", "2024-03-14T00:00:01"), ("2024-03-14T00:00:01", "2024-03-14")):
            kind, form, numbers = self.column(*values)
            self.assertEqual((0, 22, {MARCH_14, MARCH_14 + 1}), (kind, form[0], set(numbers)))

    def test_times_and_durations_make_a_time_column(self):
        values = ("10:20:30", "P1DT2H0M0S", "-P0DT1H0M0S", "00:00:00.25")
        kind, form, numbers = self.column(*values)
        self.assertEqual((0, 21, [37230, 93600, -3600, 0.25]), (kind, form[0], numbers))

    def test_invalid_dates_and_times_are_text(self):
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

    def test_too_fine_fractions_of_seconds_are_text_with_a_warning(self):
        self.text("2024-03-14T10:20:30.123456789", warning="looks like dates or times")

    def test_mixed_kinds_are_text(self):
        for values in (("2024-03-14", "5"), ("5", "2024-03-14"), ("10:20:30", "2024-03-14"), ("007", "x")):
            with self.subTest(values=values):
                self.text(*values)

    def test_text_wider_than_32767_bytes_is_refused(self):
        text = "x" * 32767
        self.assertEqual(32767, self.text(text, "y"))
        line = self.refused(self.csv_file("long\n" + text + "x\n"))
        self.assertRegex(line, r"error: the column long has a value of 32768 bytes")

    def test_random_numbers_come_back(self):
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
                same = value == text if isinstance(value, str) else float(text) == float(value)
                self.assertTrue(same, f"{text} became {value!r}, seed {seed}")


class Names(ConvertTest):
    def names(self, header):
        fields = header.count(",")
        return [(one["name"], one["label"]) for one in self.variables(f"{header}\n" + "1" + ",1" * fields + "\n")]

    def test_legal_names_have_no_label(self):
        self.assertEqual([("Id", None), ("größe", None)], self.names("Id,größe"))

    def test_mended_names_keep_the_original_as_label(self):
        self.assertEqual([("mypay", "my pay"), ("@1st", "1st"), ("@all", "all")], self.names("my pay,1st,all"))

    def test_names_that_differ_only_in_case_are_made_unique(self):
        self.assertEqual([("x", None), ("X_A", "X"), ("x_B", "x")], self.names("x,X,x"))

    def test_empty_names_get_a_number(self):
        self.assertEqual([("V1", None), ("V2", None)], self.names(","))

    def test_long_names_are_cut_between_characters(self):
        name = "ä" * 40
        self.assertEqual([("ä" * 32, name)], self.names(name))

    def test_ten_thousand_columns_are_named(self):
        header = ",".join(f"column number {i}" for i in range(10000))
        variables = self.variables(header + "\n" + ",".join(["1"] * 10000) + "\n")
        self.assertEqual((10000, "columnnumber9999"), (len(variables), variables[-1]["name"]))


class Csv(ConvertTest):
    def rows(self, text):
        return self.case_list(self.convert(self.csv_file(text)))

    def test_lines_may_end_in_cr_lf(self):
        self.assertEqual([[1, "a"], [2, ""]], self.rows("x,y\r\n1,a\r\n2,\r\n"))

    def test_last_line_needs_no_line_end(self):
        self.assertEqual([["a", "b"]], self.rows("x,y\na,b"))
        self.assertEqual([[1, None]], self.rows("x,y\n1,"))

    def test_quoted_fields_may_contain_quotes_commas_and_line_breaks(self):
        text = 'x,y\n"a ""b"", c","d\ne\r\nf"\n"",in"side\n'
        self.assertEqual([['a "b", c', "d\ne\r\nf"], ["", 'in"side']], self.rows(text))

    def test_byte_order_mark_is_skipped(self):
        self.assertEqual("x", self.variables(b"\xef\xbb\xbfx\n1\n")[0]["name"])

    def test_empty_line_is_a_case_of_one_column(self):
        self.assertEqual([[1], [None], [2]], self.rows('x\n1\n\n2\n'))

    def test_header_alone_makes_a_file_without_cases(self):
        self.assertEqual([], self.rows("x,y\n"))

    def test_records_may_cross_the_read_buffer(self):
        long = "y" * 300_000
        rows = [["1", "x" * 3000]] * 400
        text = "a,b\n" + "".join(f"{a},{b}\n" for a, b in rows)
        self.assertEqual([[1, "x" * 3000]] * 400, self.rows(text))
        self.assertIn("300000 bytes", self.refused(self.csv_file("a,b\n" + f'1,"{long}"\n')))

    def test_errors_name_the_line(self):
        for text, trouble in (
            ('a,b\n1,2\n"x,3\n4,5\n', r"a quote that begins a field is never closed \(at line 3\)"),
            ('a,b\n1,2\n"x"y,3\n', r"text follows a closing quote \(at line 3\)"),
            ('a,b\n"x\ny",2\n3\n', r"there are 1 fields, but the header has 2 \(at line 4\)"),
            ("a,b\n1,2,3\n", r"there are 3 fields, but the header has 2 \(at line 2\)"),
            ("a,b\n1,2\n\n3,4\n", r"there are 1 fields, but the header has 2 \(at line 3\)"),
            (b"a\nx\n\xff\n", r"the text is not UTF-8 \(at line 3\)"),
            (b"\xff\n", r"the text is not UTF-8 \(at line 1\)"),
            ("", "there is no header line"),
        ):
            with self.subTest(text=text):
                self.assertRegex(self.refused(self.csv_file(text)), rf"\Adatasrc: error: {trouble}: .*in\.csv\n\Z")

    def test_stray_quote_does_not_read_the_whole_file(self):
        text = 'a\n"x\n' + "y\n" * 2_000_000
        self.assertRegex(self.refused(self.csv_file(text)), r"a quote may be missing \(at line 2\)")

    def test_zero_byte_is_refused_in_a_very_long_string(self):
        self.assertEqual([["a\0b"]], self.rows(b"x\na\0b\n"))
        self.assertRegex(self.refused(self.csv_file(b"x\n" + b"y" * 251 + b"\0" + b"y" * 100 + b"\n")), "zero byte")

    def test_very_long_text_is_split_between_characters(self):
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

    def test_csv_from_cat_gives_the_same_cases(self):
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

    def test_csv_and_json_lines_equal_the_output_of_cat(self):
        file = self.file(people())
        for name, form in (("out.csv", "csv"), ("out.jsonl", "jsonl"), ("OUT.CSV", "csv")):
            with self.subTest(name=name):
                out = self.convert(file, name=name)
                self.assertEqual(self.out("cat", file, "--format", form), out.read_text(encoding="utf-8"))

    def test_csv_converts_to_json_lines(self):
        out = self.convert(self.csv_file("a,b\n1.50,x\n,y\n"), name="out.jsonl")
        self.assertEqual('[1.5,"x"]\n[null,"y"]\n', out.read_text())

    def test_dash_with_to_option_writes_standard_output(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file), self.out("convert", file, "-", "--to", "csv"))
        self.assertEqual(self.out("cat", file, "--format", "jsonl"), self.out("convert", file, "-", "--to", "jsonl"))

    def test_name_that_no_variable_has_is_an_error_about_the_input(self):
        source = self.csv_file("a,b\n1,x\n", "source.csv")
        out = self.folder / "no.quav"
        for form in ("quav", "csv", "ndjson", "arrow"):
            file = self.convert(source, name=f"in.{form}")
            for option in ("--columns", "--sort"):
                with self.subTest(form=form, option=option):
                    line = self.fails(1, "convert", file, out, option, "q")
                    self.assertEqual(f"datasrc: error 1507: there is no variable with the name q: {file}\n", line)
        with open(self.folder / "in.csv", "rb") as stream:
            line = self.fails(1, "convert", "-", out, "--columns", "q", stdin=stream)
        self.assertEqual("datasrc: error 1507: there is no variable with the name q: standard input\n", line)

    def test_system_file_is_not_written_to_standard_output(self):
        text = r"a system file cannot be written to standard output: name a file, or another form with --to"
        file = self.file(people())
        for command in (["convert", file, "-"], ["convert", file, "-", "--to", "quav"], ["concat", "-", file, "--to", "quav"]):
            with self.subTest(command=command):
                self.assertIn(text, self.fails(2, *command))

    def test_from_and_to_options_override_the_suffix(self):
        out = self.convert(self.file(people()), "--to", "csv", name="out.txt")
        self.assertTrue(out.read_text(encoding="utf-8").startswith("id,"))
        again = self.convert(out, "--from", "csv")
        self.assertEqual(4, len(self.case_list(again)))

    def test_file_without_variables_makes_empty_csv(self):
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

    def test_csv_from_a_pipe_is_read_twice(self):
        self.assertEqual([[1, "x"], [2, ""]], self.case_list(self.from_pipe(b"a,b\n1,x\n2,\n")))

    def test_large_csv_from_a_pipe_is_read_twice(self):
        contents = b"a,b\n" + b"".join(b"%d,%s\n" % (i, b"x" * 100) for i in range(200_000))
        cases = self.case_list(self.from_pipe(contents))
        self.assertEqual([[i, "x" * 100] for i in range(200_000)], cases)

    def test_leading_bracket_means_json_lines(self):
        file = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        self.assertEqual([[1], [2]], self.case_list(self.from_pipe(b"[1]\n[2]\n", "--dictionary", file)))

    def test_standard_input_may_be_a_file(self):
        source = self.csv_file("a\n1\n2\n")
        with open(source, "rb") as stream:
            done = self.run_tool("convert", "-", self.folder / "out.quav", stdin=stream)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual([[1], [2]], self.case_list(self.folder / "out.quav"))

    def test_input_may_be_a_named_pipe(self):
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

    def test_members_of_the_dictionary_are_used(self):
        info = self.info(self.from_csv("w,t,d\n007,x,2024-03-14\n"))
        self.assertEqual(("A label", "w"), (info["label"], info["weight"]))
        w, t, d = info["variables"]
        self.assertEqual({"code": -3, "values": ["lowest", -1, 99]}, w["missing"])
        self.assertEqual(("weights", [5, 8, 2]), (w["label"], w["print"]))
        self.assertEqual(sorted([["b", "Bonn"], ["u", "Ulm"]]), sorted(t["value_labels"]))
        self.assertEqual((5, 1, 7, 2), (t["type"], t["measure"], t["display_width"], t["alignment"]))
        self.assertEqual([20, 11, 0], d["print"])
        self.assertEqual([[7, "x", MARCH_14]], self.case_list(self.folder / "out.quav"))

    def test_csv_columns_may_be_in_any_order(self):
        self.assertEqual([[1, "x", 5], [None, "y", None]], self.case_list(self.from_csv("T,d,W\nx,5,1\ny,,\n")))

    def test_numbers_without_digits_are_read_by_name(self):
        text = self.raw_cases(self.from_csv("w,t,d\nNaN,NaN,Infinity\n-Infinity,,\n"))
        self.assertEqual('["NaN","NaN","Infinity"]\n["-Infinity","",null]\n', text)

    def test_trailing_blanks_do_not_make_text_too_long(self):
        self.assertEqual([[None, "12345", None]], self.case_list(self.from_csv("w,t,d\n,12345   ,\n")))

    def test_csv_values_that_do_not_fit_are_errors(self):
        file = self.dictionary(self.TREE)
        for row, trouble in (
            ("x,,", "the value 'x' of w is not a number"),
            ("2024-03-14,,", "of w is not a number"),
            (",123456,", "the value '123456' of t is too long"),
            (",,10:20:30", "of d is neither a number nor a date"),
            ("123456789012345678,,", "of w has more digits than"),
            ("1e999,,", "of w has more digits than"),
            ("-1.7976931348623157e308,,", "of w is the number that stands for a missing value"),
        ):
            with self.subTest(row=row):
                line = self.refused(self.csv_file(f"w,t,d\n1,,\n{row}\n"), "--dictionary", file)
                self.assertRegex(line, rf"\Adatasrc: error: .*{trouble}.* \(at line 3\): .*in\.csv\n\Z")

    def test_csv_headers_that_do_not_fit_are_errors(self):
        file = self.dictionary(self.TREE)
        for header, trouble in (
            ("w,t", "no column for the variable d"),
            ("w,t,d,e", "the header names e, which is not a variable"),
            ("w,t,d,W", "the header names W twice"),
        ):
            with self.subTest(header=header):
                self.assertIn(trouble, self.refused(self.csv_file(header + "\n"), "--dictionary", file))

    def test_json_lines_are_read(self):
        text = '[1,"x",13929753600]\n[null,null,null]\n[-0.0,"","2024-03-14"]\n["NaN","ü",1e3]'
        out = self.convert(self.text_file(text, "in.jsonl"), "--dictionary", self.dictionary(self.TREE))
        self.assertEqual(
            f'[1,"x",{MARCH_14:.0f}]\n[null,"",null]\n[-0.0,"",{MARCH_14:.0f}]\n["NaN","ü",1000]\n',
            self.raw_cases(out),
        )

    def test_json_lines_that_do_not_fit_are_errors(self):
        file = self.dictionary(self.TREE)
        for line, trouble in (
            ("[1]", "there are 1 values for the 3 variables"),
            ('[1,"",2,3]', "there are more values than the 3 variables"),
            ('["x","",2]', "the value 'x' of w is not a number"),
            ('["5","",2]', "the value '5' of w is text where a number is expected"),
            ("[1,5,2]", "the value '5' of t is a number where text is expected"),
            ('[1,"123456",2]', "the value '123456' of t is too long"),
            ("[true,null,null]", "the value 'true' of w cannot be a value of a case"),
            ("[[1],null,null]", "the value of w is a list"),
            ("[{},null,null]", "the value of w is an object"),
            ("[1e400,null,null]", "the number that ends at character 6 is too large"),
            ('{"w":1}', "a case must be a list of values"),
            ("1", "a case must be a list of values"),
            ('[1,"x",2', "this is not valid JSON"),
            ('[1,"x",2]]', "this is not valid JSON"),
            ("", "this is not valid JSON"),
            ("[123456789012345678,null,null]", "has more digits than"),
            ("[0.1234567890123456789,null,null]", "has more digits than"),
            ("[-1.7976931348623157e308,null,null]", "stands for a missing value"),
        ):
            with self.subTest(line=line):
                source = self.text_file(f"[1,null,null]\n{line}\n[1,null,null]\n", "in.jsonl")
                message = self.refused(source, "--dictionary", file)
                self.assertIn(trouble, message)
                self.assertRegex(message, r"\(at line 2\): .*in\.jsonl\n\Z")

    def test_bad_dictionary_is_an_error_with_its_place(self):
        def one(**members):
            return {"variables": [{"name": "a", "type": 0, **members}]}

        for tree, trouble in (
            ({}, "the dictionary has no member variables"),
            ([], "the dictionary is not an object"),
            ({"variables": []}, "variables is empty"),
            ({"variables": [{"type": 0}]}, r"variables\[0\] has no member name"),
            ({"variables": [{"name": "a"}]}, r"variables\[0\] has no member type"),
            (one(name="a b"), r"variables\[0\].name is not a legal variable name"),
            (one(name="x" * 65), r"variables\[0\].name is not a legal variable name"),
            (one(type=32768), r"variables\[0\].type is not a whole number from 0 to 32767"),
            (one(type=1.5), r"variables\[0\].type is not a whole number"),
            (one(type=-1), r"variables\[0\].type is not a whole number"),
            ({"variables": [{"name": "a", "type": 0}, {"name": "A", "type": 0}]}, r"variables\[1\] has the name A"),
            (one(print=[5, 8]), r"variables\[0\].print is not a list of 3"),
            (one(print=[5, 41, 2]), r"variables\[0\].print is a format that becomes \[5, 40, 2\]"),
            (one(type=8, write=[1, 8, 2]), r"variables\[0\].write is a format that becomes \[1, 8, 0\]"),
            (one(missing={"code": 1, "values": [None]}), r"variables\[0\].missing.values\[0\] is null"),
            ({**one(), "data_editor_formatting": "x"}, "data_editor_formatting has one byte"),
            (one(label=5), r"variables\[0\].label is not a string"),
            (one(missing={"code": 2, "values": [1]}), r"variables\[0\].missing.values is not a list of 2"),
            (one(missing={"code": -1, "values": [1]}), r"variables\[0\].missing has an unknown code"),
            (one(value_labels=[["x", "y"]]), r"variables\[0\].value_labels\[0\]\[0\] is not a number"),
            (one(type=2, value_labels=[["xyz", "y"]]), r"variables\[0\].value_labels\[0\]\[0\] is longer than"),
            (one(measure=16), r"variables\[0\].measure is not a whole number from 0 to 15"),
            ({**one(), "weight": "b"}, "weight is not the name of a variable"),
            ({**one(), "mr_sets": [mr_set(variables=["b"])]}, r"mr_sets\[0\].variables\[0\] is not the name of"),
            ({**one(), "mr_sets": [mr_set(name="s")]}, r"mr_sets\[0\].name must begin with \$"),
            ({**one(), "variable_sets": [mr_set(type=0)]}, r"variable_sets\[0\].name must begin with \$"),
            ({**one(), "mr_sets": [mr_set(name="$a=b")]}, r"mr_sets\[0\].name is not a legal set name"),
            ({**one(), "mr_sets": [mr_set(label="a\nb")]}, r"mr_sets\[0\].label contains a line break"),
            ({**one(), "mr_sets": [mr_set(type=2)]}, r"mr_sets\[0\] has no counted value"),
            (
                {**one(), "attributes": [["x", ["a\nb"]]]},
                r"attributes\[0\]\[1\]\[0\] contains a line break, which the attribute x",
            ),
            ({**one(), "attributes": [["1x", ["a"]]]}, r"attributes\[0\]\[0\] is not a legal attribute name"),
            (one(attributes=[["x", ["a\nb"]]]), r"variables\[0\].attributes\[0\]\[1\]\[0\] contains a line break"),
            ({**one(), "documents": [{"date": "x", "lines": []}]}, r"documents\[0\].date is not a date"),
            ({**one(), "documents": [document("x" * 81)]}, r"documents\[0\].lines\[0\] is longer than the 80 bytes"),
            ({**one(), "documents": [document("   (Entered 99-Mar-24)")]}, r"documents\[0\].lines\[0\] is a date line"),
            ({**one(), "trends": trends(*[[None, 0, 1]] * 12)}, r"trends.date_variables has more than 10"),
            (
                {**one(), "trends": trends(["a", 2, 1], ["a", 2, 1])},
                r"trends.date_variables\[1\]\[1\] is not a type of",
            ),
            (
                {**one(), "trends": trends(["b", 2, 1], [None, 0, 1])},
                r"trends.date_variables\[0\]\[0\] is not the name of",
            ),
            (
                {**one(), "trends": trends([None, 0, 1], [None, 0, 1])},
                r"trends.date_variables\[0\]\[1\] is not the type of a date variable",
            ),
            ({**one(), "sort_keys": [[1, 0, 0]]}, r"sort_keys\[0\]\[0\] is not a whole number from 0 to 0"),
            *((one(name=f"{first}a"), r"variables\[0\].name is not a legal variable name") for first in "$#_."),
            (one(name="a "), r"variables\[0\].name ends with a blank"),
            ({**one(), "label": "x" * 65}, "label has 65 bytes, but a system file has room for 64"),
            ({**one(), "label": "ä" * 33}, "label has 66 bytes, but a system file has room for 64"),
            (one(value_labels=[[1, "x" * 256]]), r"variables\[0\].value_labels\[0\]\[1\] has 256 bytes"),
            (one(type=8, value_labels=[["a", "x" * 256]]), r"variables\[0\].value_labels\[0\]\[1\] has 256 bytes"),
            (one(value_labels=[[1, "x"], [2, "y"], [1, "z"]]), r"variables\[0\].value_labels has two labels for one"),
            (one(type=8, missing={"code": -2, "values": ["a", "b"]}), r"variables\[0\].missing.code is a range"),
            (one(type=8, missing={"code": -3, "values": ["a", "b", "c"]}), r"variables\[0\].missing.code is a range"),
            ({**one(), "mr_sets": [mr_set(variables=[])]}, r"mr_sets\[0\].variables is empty"),
            ({**one(), "variable_sets": [mr_set(name="s", type=0, variables=[])]}, r"variable_sets\[0\].variables is empty"),
            ({**one(), "mr_sets": [mr_set(variables=["a", "A"])]}, r"mr_sets\[0\].variables\[1\] is the name of an earlier"),
            ({**one(), "mr_sets": [mr_set(), mr_set()]}, r"mr_sets\[1\].name is the name \$s of an earlier set"),
            ({**one(), "mr_sets": [mr_set(value="1")]}, r"mr_sets\[0\].value belongs to a set of type 2"),
            ({**one(), "variable_sets": [mr_set(name="s", type=0, value="1")]}, r"variable_sets\[0\].value belongs to"),
            ({**one(), "variable_sets": [mr_set(name="s", type=0, label="x")]}, r"variable_sets\[0\].label belongs to"),
            ({**one(), "mr_sets": [mr_set(flags="2")]}, r"mr_sets\[0\].flags is not one or two of 0 and 1"),
            ({**one(), "mr_sets": [mr_set(flags="1")]}, r"mr_sets\[0\].flags begins with 1"),
            ({**one(), "mr_sets": [mr_set(type=2, value="1", flags="01")]}, r"mr_sets\[0\].flags is 01"),
            (
                {**one(), "mr_sets": [mr_set(type=2, value="1", flags="11", label="x")]},
                r"mr_sets\[0\].label cannot be stored",
            ),
            ({**one(), "attributes": [["x", []]]}, r"attributes\[0\]\[1\] is empty"),
            (one(attributes=[["x", []]]), r"variables\[0\].attributes\[0\]\[1\] is empty"),
            ({**one(), "attributes": [["x", ["1"]], ["X", ["2"]]]}, r"attributes\[1\]\[0\] is the name X of an earlier"),
            (one(attributes=[["$@role", ["1"]]]), r"variables\[0\].attributes contains \$@Role"),
            (
                {**one(), "sort_keys": [[0, 0, 0]], "sort_index": [["\x1d", 0]]},
                r"sort_index\[0\]\[0\] contains a byte that ends the text",
            ),
            (
                {**one(), "sort_keys": [[0, 0, 0]], "sort_index": [["a", 0], ["a\x1f", 0]]},
                r"sort_index\[1\]\[0\] contains a byte that ends the text",
            ),
        ):
            with self.subTest(tree=tree):
                line = self.refused(self.csv_file("a\n"), "--dictionary", self.dictionary(tree))
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}.*: .*dictionary\.json\n\Z")

    def test_dictionary_that_is_not_json_is_an_error(self):
        file = self.text_file('{"variables": [', "dictionary.json")
        self.assertRegex(self.refused(self.csv_file("a\n"), "--dictionary", file), r"is not valid JSON \(at byte 16\)")

    def test_number_beyond_a_double_in_the_dictionary_is_an_error(self):
        file = self.text_file('{"variables":[{"name":"a","type":0,"missing":{"code":1,"values":[1e999]}}]}', "dictionary.json")
        line = self.refused(self.csv_file("a\n"), "--dictionary", file)
        self.assertRegex(line, r"contains a number that is too large \(at byte 70\): .*dictionary\.json\n\Z")

    def test_borders_of_the_dictionary_are_kept(self):
        tree = {
            "label": "ä" * 32,
            "variables": [
                {"name": "@1", "type": 0, "label": "l" * 1000, "value_labels": [[1, "x" * 255], [2, "ä" * 127]]},
                {"name": "1a", "type": 8, "value_labels": [["a", "x" * 255]], "missing": {"code": 3, "values": ["a", "b", "c"]}},
                {"name": "all", "type": 9, "value_labels": [["a", "x" * 3000]], "attributes": [["y", ["it's", "", "(/)"]]]},
            ],
            "attributes": [["x", ["1", "2"]], ["$Odd", [""]]],
            "variable_sets": [{"name": "s", "type": 0, "variables": ["@1", "1A"]}, {"name": "S", "type": 0, "variables": ["all"]}],
            "mr_sets": [
                {"name": "$s", "type": 1, "flags": "0", "label": "l", "value": "", "variables": ["@1"]},
                {"name": "$S", "type": 2, "flags": "0", "label": "", "value": "1", "variables": ["@1"]},
                {"name": "$s", "type": 2, "flags": "1", "label": "l", "value": "1", "variables": ["@1"]},
                {"name": "$t", "type": 2, "flags": "11", "label": "", "value": "1", "variables": ["@1"]},
            ],
            "sort_keys": [[0, 0, 0]],
            "sort_index": [["a", 0], ["b", 5]],
        }
        out = self.convert(self.csv_file("@1,1a,all\n"), "--dictionary", self.dictionary(tree))
        info = self.info(out)
        for name, value in tree.items():
            if name not in ("variables", "variable_sets"):
                self.assertEqual(value, info[name])
        self.assertEqual(["s", "S"], [one["name"] for one in info["variable_sets"]])
        for given, kept in zip(tree["variables"], info["variables"], strict=True):
            self.assertEqual({**kept, **given}, kept)

    def test_members_that_a_file_stores_in_another_form_get_one_warning_for_each_change(self):
        def variable(name, **members):
            return {"name": name, "type": 0, **members}

        for variables, warnings in (
            ([variable("a", measure=3, role=5, display_width=1)], []),
            ([variable("a", measure=4)], [r"variables\[0\].measure is stored as 1 and an attribute"]),
            (
                [variable("a", role=6), variable("b", role=7), variable("c", role=6)],
                [r"variables\[0\].role is stored as 3 and an attribute, and 2 more"],
            ),
            (
                [variable("a"), variable("b", display_width=0), variable("c", display_width=-1)],
                [r"variables\[1\].display_width is not positive: a system file has the default width instead, and 1 more"],
            ),
            (
                [variable("a", type=256, print=[1, 255, 0], write=[1, 256, 0])],
                [r"variables\[0\].print is stored as \[1, 256, 0\]"],
            ),
        ):
            with self.subTest(variables=variables):
                header = ",".join(one["name"] for one in variables) + "\n"
                out = self.folder / "out.quav"
                file = self.dictionary({"variables": variables})
                done = self.run_tool("convert", self.csv_file(header), out, "--dictionary", file)
                self.assertEqual(0, done.returncode)
                expected = "".join(rf"datasrc: warning: {warning}: .*dictionary\.json\n" for warning in warnings)
                self.assertRegex(done.stderr, rf"\A{expected}\Z")

    def test_labels_are_limited_in_the_encoding_of_the_output(self):
        tree = {"label": "ä" * 64, "variables": [{"name": "a", "type": 0, "value_labels": [[1, "ä" * 255]]}]}
        file = self.dictionary(tree)
        out = self.convert(self.csv_file("a\n"), "--dictionary", file, "--encoding", "windows-1252")
        info = self.info(out)
        self.assertEqual(tree["label"], info["label"])
        self.assertEqual([[1, "ä" * 255]], info["variables"][0]["value_labels"])
        self.assertIn("has 510 bytes", self.refused(self.csv_file("a\n"), "--dictionary", file))
        file = self.dictionary({**tree, "label": "ä" * 65})
        line = self.refused(self.csv_file("a\n"), "--dictionary", file, "--encoding", "windows-1252")
        self.assertIn("label has 65 bytes", line)

    def test_sort_index_that_is_not_kept_gets_a_warning(self):
        keys = [[0, 0, 0]]
        for members, trouble in (
            ({"sort_keys": keys, "sort_index": [["a", 0], ["a b", 1]]}, "sort_index contains white space"),
            ({"sort_keys": keys}, "sort_keys and sort_index need each other"),
            ({"sort_index": [["a", 0]]}, "sort_keys and sort_index need each other"),
            ({"sort_keys": [], "sort_index": []}, None),
        ):
            with self.subTest(members=members):
                file = self.dictionary({"variables": [{"name": "a", "type": 0}], **members})
                done = self.run_tool("convert", self.csv_file("a\n"), self.folder / "out.quav", "--dictionary", file)
                self.assertEqual(0, done.returncode)
                self.assertRegex(done.stderr, rf"\Adatasrc: warning: {trouble}.*\n\Z" if trouble else r"\A\Z")

    def with_text(self, members, *options):
        """Runs convert with a dictionary whose text is not made by the JSON writer."""
        file = self.text_file('{"variables":[{"name":"a","type":0}]' + members + "}", "dictionary.json")
        return self.run_tool("convert", self.csv_file("a\n1\n"), self.folder / "out.quav", "--dictionary", file, *options)

    def test_unused_members_may_be_nested_to_any_depth(self):
        levels = 100_000
        for value in ("[" * levels + "]" * levels, '{"x":' * levels + "1" + "}" * levels, '[{"label":' * levels + "1" + "}]" * levels):
            with self.subTest(value=value[:10]):
                done = self.with_text(',"cases":' + value + ',"label":"x"')
                self.assertEqual((0, ""), (done.returncode, done.stderr))
                self.assertEqual("x", self.info(self.folder / "out.quav")["label"])

    def test_used_member_that_is_nested_too_deeply_is_an_error(self):
        for levels in (100, 100_000):
            for member, place in (
                (f',"attributes":[[{"[" * levels}{"]" * levels}]]', r"attributes\[0\]\[0\].*"),
                (f',"label":{"[" * levels}{"]" * levels}', r"label.*"),
                (f',"trends":{chr(123)}"period":{"[" * levels}{"]" * levels}{chr(125)}', r"trends\.period.*"),
            ):
                with self.subTest(levels=levels, place=place):
                    done = self.with_text(member)
                    self.assertEqual(1, done.returncode)
                    self.assertRegex(done.stderr, rf"\Adatasrc: error: {place} is nested too deeply: .*dictionary\.json\n\Z")

    def test_unclosed_nesting_is_an_error(self):
        file = self.text_file("[" * 1_000_000, "dictionary.json")
        self.assertIn("is nested too deeply", self.refused(self.csv_file("a\n"), "--dictionary", file))
        file = self.text_file('{"x":' + "[" * 1_000_000, "dictionary.json")
        self.assertIn("is not valid JSON", self.refused(self.csv_file("a\n"), "--dictionary", file))

    def test_member_that_occurs_twice_is_an_error(self):
        for members, place in ((',"label":"a","label":"b"', "label"), (',"trends":{"start":[1,1],"start":[1,1]}', "trends.start")):
            with self.subTest(members=members):
                done = self.with_text(members)
                self.assertEqual(1, done.returncode)
                self.assertRegex(done.stderr, rf"\Adatasrc: error: {place} occurs twice: .*dictionary\.json\n\Z")
        done = self.with_text(',"cases":1,"cases":2')
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_many_unused_members_take_time_in_proportion_to_their_number(self):
        start = time.monotonic()
        done = self.with_text("".join(f',"x{number}":{number}' for number in range(500_000)))
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertLess(time.monotonic() - start, 30)

    @unsanitized
    def test_many_attributes_take_time_in_proportion_to_their_number(self):
        start = time.monotonic()
        attributes = [[f"a{number}", ["x"]] for number in range(200_000)]
        out = self.from_csv("w,t,d\n", {**self.TREE, "attributes": attributes})
        self.assertLess(time.monotonic() - start, 30)
        self.assertEqual(attributes, self.info(out)["attributes"])

    def test_documents_get_a_missing_date_line(self):
        tree = {**self.TREE, "documents": [document("first", "second"), document("   (Entered 01-Jan-01)")]}
        out = self.convert(self.csv_file("w,t,d\n"), "--dictionary", self.dictionary(tree))
        self.assertEqual(
            [
                {"date": "2024-03-14", "lines": ["first", "second", "   (Entered 14-Mar-2024)"]},
                {"date": "2001-01-01", "lines": ["   (Entered 01-Jan-01)"]},
            ],
            self.info(out)["documents"],
        )

    def test_date_variables_without_a_type_are_omitted_with_a_warning(self):
        # The record counts three date variables and has five triples of zeros: it opens, but cannot be written again.
        file = SystemFile()
        file.variable("A")
        file.extension(6, 4, 18, struct.pack("<18i", 0, 12, 3, 1, 1, 1, *[0] * 12))
        source, made = self.folder / "source.quav", self.folder / "made.quav"
        source.write_bytes(file.bytes())
        done = self.run_tool("convert", source, made)
        self.assertRegex(done.stderr, "warning: the date variables of the trends are omitted: one has no type")
        self.assertFalse((self.info(made)["trends"] or {}).get("date_variables"))

    def test_trends_that_do_not_fit_the_variables_get_a_warning(self):
        file = self.dictionary({**self.TREE, "trends": trends(["w", 2, 1], [None, 0, 1])})
        done = self.run_tool("convert", self.csv_file("w,t,d\n"), self.folder / "out.quav", "--dictionary", file)
        self.assertEqual(0, done.returncode)
        self.assertRegex(done.stderr, r"\Adatasrc: warning: the date variables [^\n]*: .*dictionary\.json\n\Z")


class SystemFiles(ConvertTest):
    def test_compression_is_kept_or_chosen(self):
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

    def test_unknown_extension_records_are_kept(self):
        blocks = SystemFile().variable("A").extension(99, 4, 3, b"x" * 12).extension(150, 8, 1, b"y" * 8)
        file = self.file(blocks.case(1))
        self.assertEqual(self.info(file)["extensions"], self.info(self.convert(file))["extensions"])
        self.assertIn(b"x" * 12, (self.folder / "out.quav").read_bytes())

    def test_file_with_variables_after_other_records_is_refused(self):
        for name in ("out.quav", "out.csv", "out.jsonl"):
            self.assertIn("the cases cannot be read", self.refused(self.file(late_variable()), name=name))

    def test_weight_is_kept(self):
        tree = {"weight": "b", "variables": [{"name": "a", "type": 9}, {"name": "b", "type": 0}]}
        weighted = self.convert(self.csv_file("a,b\nx,1\n"), "--dictionary", self.dictionary(tree), name="w.quav")
        self.assertEqual("b", self.info(self.convert(weighted))["weight"])

    def test_file_without_variables_cannot_be_written(self):
        self.assertIn("without variables cannot be written", self.refused(self.file(SystemFile())))

    def test_output_is_utf8_for_any_input_encoding(self):
        source = self.convert(self.csv_file("größe,ä\nçà,1\n"), "--encoding", "windows-1252", name="in.quav")
        self.assertEqual("UTF-8", self.info(self.convert(source))["encoding"])
        self.assertEqual("UTF-8", self.info(self.convert(source, "--encoding", "utf8"))["encoding"])

    def test_encoding_option_sets_the_encoding(self):
        text = "größe,ä\nçà,1\nab,2\n"
        for encoding in "windows-1252", "ISO-8859-15", "windows-1254":
            with self.subTest(encoding):
                file = self.convert(self.csv_file(text), "--encoding", encoding)
                info = self.info(file)
                self.assertEqual(encoding, info["encoding"])
                self.assertEqual(["größe", "ä"], [one["name"] for one in info["variables"]])
                self.assertEqual([["çà", 1], ["ab", 2]], self.case_list(file))
                file.unlink()

    def test_encoding_option_keeps_very_long_text(self):
        text = "é" * 1000
        file = self.convert(self.csv_file(f"a,b\n{text},1\n"), "--encoding", "windows-1252")
        self.assertEqual([[text, 1]], self.case_list(file))

    def test_name_missing_in_the_encoding_gets_a_warning(self):
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

    def test_encoding_without_a_number_is_wrong_usage(self):
        for name in "klingon", "UTF-16", "":
            self.assertIn("is not an encoding", self.refused(self.csv_file("a\n1\n"), "--encoding", name, status=2))

    def test_truncated_file_is_error_1205(self):
        self.assertIn("error 1205", self.refused(self.file(people().bytes()[:-1])))
        self.assertIn("error 1205", self.refused(self.file(people().bytes()[:-1]), name="out.csv"))

    def test_dates_and_times_come_back_through_csv(self):
        system_file = SystemFile().variable("A", print_format=DATE_TIME).variable("B", print_format=TIME)
        system_file.variable("C", print_format=DATE).variable("D", print_format=format_word(5, 12, 3))
        system_file.case(MARCH_14, 37230.5, MARCH_14, 1.5).case(MARCH_14 + 0.25, 93600, None, -1e10)
        file = self.file(system_file)
        again = self.convert(self.convert(file, name="out.csv"))
        self.assertEqual(self.raw_cases(file), self.raw_cases(again))


class Samples(ConvertTest):
    def samples(self):
        return good_samples(SAMPLES)

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
                # The JSON has only the sizes of the blocks, so they cannot be rebuilt.
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
    def test_help_lists_the_options(self):
        text = self.out("help", "convert")
        for option in ("--from", "--to", "--compress", "--encoding", "--dictionary", "--no-sync"):
            self.assertIn(f"  {option} ", text)
        self.assertRegex(self.out("help"), r"(?m)^  convert ")

    def test_wrong_command_line_exits_with_status_2(self):
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

    def test_missing_input_is_error_1201(self):
        dictionary = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        for name, options in (("no.csv", []), ("no.jsonl", ["--dictionary", dictionary]), ("no.quav", [])):
            with self.subTest(name=name):
                self.assertRegex(self.refused(self.folder / name, *options), r"error 1201: .*No such file.*: .*" + name)

    def test_folder_as_input_is_an_error(self):
        folder = self.folder / "in.csv"
        folder.mkdir()
        self.assertIn("Is a directory", self.refused(folder))

    def test_input_is_never_replaced(self):
        file = self.csv_file("a\n1\n")
        self.assertIn("would replace", self.fails(1, "convert", file, file, "--to", "quav"))
        self.assertEqual("a\n1\n", file.read_text())

    def test_progress_is_shown_on_a_terminal(self):
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

    def test_full_disk_is_error_1202_and_leaves_no_file(self):
        source = self.large_csv()
        for options in ([], ["--compress", "none"], ["--compress", "zlib"]):
            for size in (0, 512, 64 * 1024):
                with self.subTest(options=options, size=size):
                    out = self.folder / "out.quav"
                    status, line = self.limited(size, "convert", source, out, *options)
                    self.assertEqual(1, status)
                    self.assertRegex(line, rf"\Adatasrc: error 1202: .*\(File too large\).*: {out}\n\Z")
                    self.assertEqual(["in.csv"], os.listdir(self.folder))

    def test_full_disk_keeps_the_old_file(self):
        out = self.folder / "out.quav"
        out.write_text("old")
        self.assertEqual(1, self.limited(4096, "convert", self.large_csv(), out)[0])
        self.assertEqual("old", out.read_text())
        self.assertEqual(["in.csv", "out.quav"], sorted(os.listdir(self.folder)))

    def test_full_device_is_an_error_and_is_not_replaced(self):
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), "/dev/full")
        self.assertRegex(line, r"\Adatasrc: error 1202: .*\(No space left on device\): /dev/full\n\Z")
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), "/dev/full", "--to", "csv")
        self.assertRegex(line, r"\Adatasrc: error: .*No space left on device.*: /dev/full\n\Z")

    def test_new_file_gets_its_mode_and_keeps_a_link(self):
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

    def test_missing_output_folder_is_an_error(self):
        line = self.fails(1, "convert", self.csv_file("a\n1\n"), self.folder / "no" / "out.quav")
        self.assertIn("No such file or directory", line)

    def has_nameless_files(self):
        try:
            os.close(os.open(self.folder, os.O_TMPFILE | os.O_RDWR))
        except OSError:
            return False
        return True

    def test_killed_tool_leaves_no_incomplete_file(self):
        if not self.has_nameless_files():
            self.skipTest("the file system has no nameless files")
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
        self.assertLess(left, 40, "no process was killed in the middle of its work")


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
