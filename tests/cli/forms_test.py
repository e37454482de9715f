"""Runs `datasrc` on other dialects of CSV and other forms, on parts of files, and on many files.

    forms_test.py BINARY SAMPLES
"""

import gzip
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import time
import unittest

import convert_test
import tool_test
from convert_test import ConvertTest
from system_file import SystemFile
from tool_test import DATE, MARCH_14, TIME, TIMEOUT, good_samples, people, unsanitized

SAMPLES = pathlib.Path()


class FormsTest(ConvertTest):
    def rows(self, text, *options, name="in.csv"):
        return self.case_list(self.convert(self.text_file(text, name), *options))

    def warned(self, *arguments, status=0):
        """Returns the warnings of a run, one for each line."""
        done = self.run_tool(*arguments)
        self.assertEqual(status, done.returncode, done.stderr)
        lines = done.stderr.splitlines()
        for line in lines[: -1 if status else None]:
            self.assertRegex(line, r"\Adatasrc: warning")
        return lines

    def piped(self, data, *arguments):
        done = subprocess.run(
            [tool_test.BINARY, *map(str, arguments)], input=data, capture_output=True, timeout=TIMEOUT, check=False
        )
        return done.returncode, done.stdout, done.stderr.decode()


class Values(FormsTest):
    def test_long_whole_numbers_come_out_as_they_went_in(self):
        for text in ("12345678901234567000", "98765432109876500000", "-18446744073709552000", "9007199254740993000"):
            with self.subTest(text=text):
                file = self.convert(self.csv_file(f"a\n{text}\n"))
                self.assertEqual(f"a\n{text}\n", self.out("cat", file))
                self.assertEqual(f"[{text}]\n", self.out("cat", file, "--format", "jsonl"))
        self.assertEqual("a\n12345678901234500000\n", self.out("cat", self.convert(self.csv_file("a\n123456789012345e5\n"))))

    def test_every_duration_that_cat_writes_is_read(self):
        system_file = SystemFile().variable("A", print_format=TIME)
        for seconds in (9007199254740991, -9007199254740991, 86400e9, -0.0, 9007199254740992, 1e300):
            system_file.case(seconds)
        file = self.file(system_file)
        text = self.out("cat", file)
        self.assertIn("P104249991374DT7H36M31S", text)
        dictionary = self.text_file(self.out("info", "--json", file), "d.json")
        again = self.convert(self.csv_file(text), "--dictionary", dictionary)
        self.assertEqual(self.raw_cases(file), self.raw_cases(again))

    def test_negative_zero_in_a_date_column_keeps_its_sign(self):
        file = self.file(SystemFile().variable("A", print_format=DATE).case(-0.0).case(0).case(MARCH_14))
        text = self.out("cat", file)
        self.assertEqual("a\n-0.0\n1582-10-14\n2024-03-14\n", text)
        dictionary = self.text_file(self.out("info", "--json", file), "d.json")
        again = self.convert(self.csv_file(text), "--dictionary", dictionary)
        self.assertEqual(self.raw_cases(file), self.raw_cases(again))

    def test_unusual_roles_and_levels_and_a_weight_that_is_text_are_rebuilt(self):
        tree = {
            "weight": "b",
            "variables": [
                {"name": "a", "type": 0, "measure": 9, "alignment": 3, "role": 9},
                {"name": "b", "type": 3, "measure": 15, "alignment": 0, "role": -7},
            ],
        }
        file = self.convert(self.csv_file("a,b\n1,x\n"), "--dictionary", self.dictionary(tree))
        info = self.info(file)
        self.assertEqual("b", info["weight"])
        self.assertEqual([(9, 3, 9), (15, 0, -7)], [(v["measure"], v["alignment"], v["role"]) for v in info["variables"]])
        dictionary = self.text_file(self.out("info", "--json", file), "again.json")
        again = self.convert(self.csv_file("a,b\n1,x\n"), "--dictionary", dictionary, name="again.quav")
        for member in ("weight", "variables"):
            self.assertEqual(info[member], self.info(again)[member])


class Lines(FormsTest):
    def test_lines_may_end_in_cr(self):
        self.assertEqual([[1, "x"], [2, "y"]], self.rows("a,b\r1,x\r2,y\r"))
        self.assertEqual([[1, "x"], [2, "y"]], self.rows("a,b\n1,x\r2,y\r\n"))

    def test_blank_lines_at_the_end_are_no_cases(self):
        for end in ("\n", "\n\n\n", "\r\n\r\n", "  \n"):
            with self.subTest(end=end):
                self.assertEqual([[1, 2]], self.rows("a,b\n1,2\n" + end))
                self.assertEqual([[1]], self.rows("a\n1\n" + end))
        self.assertEqual([[1], [None], [2]], self.rows("a\n1\n\n2\n\n"))

    def test_blank_line_between_cases_is_an_error(self):
        line = self.refused(self.csv_file("a,b\n1,2\n\n3,4\n"))
        self.assertRegex(line, r"there are 1 fields, but the header has 2 \(at line 3\)")

    def test_lines_are_skipped(self):
        text = 'from a "machine\r\n\r\na,b\r\n1,2\r\n'
        self.assertEqual([[1, 2]], self.rows(text, "--skip", "2"))
        self.assertRegex(self.refused(self.csv_file("x\na\n1,2\n"), "--skip", "1"), r"\(at line 3\)")
        self.assertIn("no header line", self.refused(self.csv_file("x\n"), "--skip", "9"))

    def test_file_without_a_header(self):
        file = self.convert(self.csv_file("1,x\n2,y\n"), "--no-header")
        self.assertEqual([[1, "x"], [2, "y"]], self.case_list(file))
        self.assertEqual(["V1", "V2"], [one["name"] for one in self.info(file)["variables"]])
        self.assertEqual("1,x\n2,y\n", self.out("cat", file, "--no-header"))
        self.assertEqual("", self.out("append", file, self.csv_file("3,z\n", "more.csv"), "--no-header"))
        self.assertEqual([3, "z"], self.case_list(file)[2])
        self.assertIn("no case", self.refused(self.csv_file(""), "--no-header", name="o2.quav"))


class Missing(FormsTest):
    def test_na_in_a_column_of_numbers_is_a_warning_that_names_it(self):
        out = self.folder / "out.quav"
        warnings = self.warned("convert", self.csv_file("a,b\n1,x\n2,NA\nNA,y\n"), out)
        self.assertEqual(1, len(warnings))
        self.assertRegex(warnings[0], r"the column a is kept as text only because of its values 'NA': .*--na 'NA'")
        self.assertEqual(["1", "2", "NA"], [case[0] for case in self.case_list(out)])

    def test_na_option_makes_missing_values(self):
        text = "a,b,c\n1,NA,2024-03-14\n-9,x,NA\n\"NA\",-9,-9\n"
        expected = [[1, "", MARCH_14], [None, "x", None], [None, "", None]]
        self.assertEqual(expected, self.rows(text, "--na", "NA", "--na", "-9"))

    def test_cat_writes_the_text_for_missing_values(self):
        file = self.convert(self.csv_file("a,b\n1,NA\n,x\n"))
        done = self.run_tool("cat", file, "--na", "NA")
        self.assertEqual("a,b\n1,NA\nNA,x\n", done.stdout)
        self.assertRegex(done.stderr, r"\Adatasrc: warning: values that are written like missing ones, as 'NA': 1: ")
        self.assertEqual("a,b\n1,NA\n-99,x\n", self.out("cat", file, "--na", "-99"))


class Dialects(FormsTest):
    def test_delimiters_quotes_and_decimals(self):
        self.assertEqual([[1.5, "x;y"]], self.rows("a;b\n1,5;'x;y'\n", "--delimiter", ";", "--quote", "'", "--decimal", ","))
        self.assertEqual([[1.5, 'x"']], self.rows('a|b\n1.5|x"\n', "--delimiter", "|", "--quote", ""))
        self.assertEqual([[1, 2]], self.rows("a\tb\n1\t2\n", "--delimiter", "\\t"))
        self.assertEqual([["1.5"]], self.rows("a\n1.5\n", "--decimal", ","))
        self.assertEqual([[1.5, 2]], self.rows('a,b\n"1,5",2\n', "--decimal", ","))

    def test_cat_writes_dialects(self):
        file = self.convert(self.csv_file('a,b\n1.5,x;y\n-0.25,"it\'s, ""so"""\n'))
        expected = "a;b\n1,5;'x;y'\n-0,25;'it''s, \"so\"'\n"
        options = ["--delimiter", ";", "--quote", "'", "--decimal", ","]
        self.assertEqual(expected, self.out("cat", file, *options))
        self.assertEqual(self.case_list(file), self.rows(expected, *options))
        self.assertEqual(expected, self.convert(file, *options, name="o.csv").read_text())
        self.assertEqual('a,b\n"1,5",x;y\n', "".join(self.out("cat", file, "--decimal", ",").splitlines(True)[:2]))
        self.assertIn("needs quotes", self.fails(1, "cat", file, "--quote", ""))
        self.assertEqual("a\n1.5\n-0.25\n", self.out("cat", file, "--columns", "a", "--quote", ""))

    def test_tab_separated_files(self):
        file = self.convert(self.text_file("a\tb\n1\tx, y\n", "in.tsv"))
        self.assertEqual([[1, "x, y"]], self.case_list(file))
        self.assertEqual("a\tb\n1\tx, y\n", self.convert(file, name="o.tsv").read_text())
        self.assertEqual("a\tb\n1\tx, y\n", self.out("cat", file, "--format", "tsv"))

    def test_delimiter_is_found(self):
        for delimiter in ",;\t|":
            text = f"a{delimiter}b\n1{delimiter}x y\n2{delimiter}'\n"
            with self.subTest(delimiter=delimiter):
                self.assertEqual([[1, "x y"], [2, "'"]], self.rows(text, "--delimiter", "auto"))
                out = self.folder / "piped.quav"
                self.assertEqual((0, b"", ""), self.piped(text.encode(), "convert", "-", out, "--delimiter", "auto"))
                self.assertEqual([[1, "x y"], [2, "'"]], self.case_list(out))
        self.assertEqual([["x y"]], self.rows("a\nx y\n", "--delimiter", "auto"))
        self.assertEqual([["1,5", 2]], self.rows("a;b\n1,5;2\n", "--delimiter", "auto"))

    def test_delimiter_that_cannot_be_found_is_an_error(self):
        self.assertIn("none of comma", self.refused(self.csv_file("a,b\n1,2,3\n"), "--delimiter", "auto"))
        self.assertIn("both comma and semicolon", self.refused(self.csv_file("a,b;c\n1,2;3\n"), "--delimiter", "auto"))

    def test_wrong_options_are_wrong_usage(self):
        file = self.csv_file("a\n1\n")
        for options in (
            ["--delimiter", ""],
            ["--delimiter", "ab"],
            ["--delimiter", "ä"],
            ["--delimiter", '"'],
            ["--quote", "ab"],
            ["--decimal", ";"],
            ["--skip", "x"],
            ["--skip", "-1"],
            ["--input-encoding", "klingon"],
            ["--memory", "5M"],
            ["--sort", "a:up"],
            ["--sort", "a", "--memory", "much"],
            ["--rows", "x"],
            ["--columns", "a,,b"],
            ["--labels"],
        ):
            with self.subTest(options=options):
                self.refused(file, *options, status=2)
        made = self.convert(file)
        self.fails(2, "cat", made, "--delimiter", "auto")
        self.fails(2, "cat", made, "--delimiter", ";", "--format", "jsonl")
        self.fails(2, "convert", made, self.folder / "x.jsonl", "--delimiter", ";")


class Encodings(FormsTest):
    TEXT = "name,größe\nÄnne €,1\nx,2\n"
    CASES = [["Änne €", 1], ["x", 2]]

    def test_utf_16_is_recognised(self):
        for encoding, mark in (("utf-16-le", "\ufeff"), ("utf-16-be", "\ufeff"), ("utf-16-le", ""), ("utf-16-be", "")):
            with self.subTest(encoding=encoding, mark=mark):
                data = (mark + self.TEXT).encode(encoding)
                self.assertEqual(self.CASES, self.rows(data))
                out = self.folder / "piped.quav"
                self.assertEqual((0, b"", ""), self.piped(data, "convert", "-", out))
                self.assertEqual(self.CASES, self.case_list(out))

    def test_input_encoding(self):
        for encoding in ("windows-1252", "UTF-16LE", "UTF-16", "iso-8859-15"):
            with self.subTest(encoding=encoding):
                self.assertEqual(self.CASES, self.rows(self.TEXT.encode(encoding), "--input-encoding", encoding))
        self.assertEqual([["ソ表"]], self.rows("a\nソ表\n".encode("shift_jis"), "--input-encoding", "Shift_JIS"))

    def test_text_in_another_encoding_is_an_error(self):
        self.assertRegex(self.refused(self.csv_file(b"a\nb\n\x81\n"), "--input-encoding", "Shift_JIS"), r"not Shift_JIS \(at line 3\)")
        self.assertIn("is not UTF-16LE", self.refused(self.csv_file(b"\xff\xfea\0\n\0\x00\xd8")))


class Packed(FormsTest):
    def test_packed_text_is_read_and_written(self):
        text = "a,b\n1,x\n2,\n"
        for name in ("in.csv.gz", "IN.CSV.GZ"):
            file = self.convert(self.text_file(gzip.compress(text.encode()), name))
            self.assertEqual([[1, "x"], [2, ""]], self.case_list(file))
        for suffix in ("csv", "tsv", "jsonl", "ndjson"):
            with self.subTest(suffix=suffix):
                plain = self.convert(file, name=f"o.{suffix}").read_bytes()
                packed = self.convert(file, name=f"o.{suffix}.gz")
                self.assertEqual(plain, gzip.decompress(packed.read_bytes()))
                if "json" not in suffix:
                    self.assertEqual(self.case_list(file), self.case_list(self.convert(packed, name="again.quav")))
        self.out("cat", file, "-o", self.folder / "cat.csv.gz")
        self.assertEqual(text, gzip.decompress((self.folder / "cat.csv.gz").read_bytes()).decode())

    def test_packed_standard_input_is_recognised(self):
        out = self.folder / "out.quav"
        self.assertEqual((0, b"", ""), self.piped(gzip.compress(b"a\n5\n"), "convert", "-", out))
        self.assertEqual([[5]], self.case_list(out))

    def test_damaged_packed_data_are_an_error(self):
        packed = gzip.compress(b"a\n" + b"5\n" * 1000)
        self.assertIn("end too early", self.refused(self.text_file(packed[:-1], "in.csv.gz")))
        self.assertIn("are damaged", self.refused(self.text_file(b"a\n5\n", "in.csv.gz")))


class Objects(FormsTest):
    TREE = {"variables": [{"name": "a", "type": 0}, {"name": "b\u00e4", "type": 4}]}

    def test_objects_are_read_by_names(self):
        text = '{"b\u00e4":"x","a":1}\n{}\n{"A":null,"b\u00e4":"y"}\n'
        file = self.convert(self.text_file(text, "in.ndjson"), "--dictionary", self.dictionary(self.TREE))
        self.assertEqual([[1, "x"], [None, ""], [None, "y"]], self.case_list(file))
        written = '{"a":1,"b\u00e4":"x"}\n{"a":null,"b\u00e4":""}\n{"a":null,"b\u00e4":"y"}\n'
        self.assertEqual(written, self.convert(file, name="o.ndjson").read_text(encoding="utf-8"))
        self.assertEqual(written, self.out("cat", file, "--format", "ndjson"))

    def test_negative_zero_keeps_its_sign(self):
        for number in ("-0", "-0.0", "-0e1"):
            file = self.convert(self.text_file(f'{{"a":{number}}}\n', "in.ndjson"))
            self.assertEqual("a\n-0.0\n", self.out("cat", file))

    def test_blank_lines_at_the_end_are_no_cases(self):
        for end in ("", "\n", "\n\n\n", "\r\n \t\r\n", "\n" * 300_000):
            file = self.convert(self.text_file('{"a":1}\n{"a":2}' + end, "in.ndjson"))
            self.assertEqual([[1], [2]], self.case_list(file))
        self.assertIn("not valid JSON from character 1 on (at line 2)", self.refused(self.text_file("{}\n\n{}\n", "in.ndjson")))

    def test_objects_that_do_not_fit_are_errors(self):
        for line, trouble in (
            ('{"c":1}', "the name 'c' is not that of a variable"),
            ('{"a":1,"A":2}', "the name 'A' occurs twice"),
            ("[1]", "must be an object"),
            ("1", "must be an object"),
            ('{"a":{}}', "the value of a is an object"),
            ('{"a":[1]}', "the value of a is a list"),
            ('{"a":"x"}', "the value 'x' of a is not a number"),
            ('{"a":1', "not valid JSON"),
        ):
            with self.subTest(line=line):
                source = self.text_file(f"{{}}\n{line}\n", "in.ndjson")
                message = self.refused(source, "--dictionary", self.dictionary(self.TREE))
                self.assertIn(trouble, message)
                self.assertIn("(at line 2)", message)

    def test_every_sample_is_rebuilt_from_objects(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                dictionary = self.text_file(self.out("info", "--json", sample), "dictionary.json")
                lines = self.text_file(self.out("cat", "--format", "ndjson", "--raw", sample), "cases.ndjson")
                out = self.folder / "out.quav"
                done = self.run_tool("convert", lines, out, "--dictionary", dictionary)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertEqual(self.raw_cases(sample), self.raw_cases(out))


class ObjectsWithoutADictionary(FormsTest):
    def made(self, *lines, end="\n"):
        return self.convert(self.text_file("\n".join(lines) + end, "in.ndjson"))

    def refused_lines(self, *lines):
        return self.refused(self.text_file("\n".join(lines) + "\n", "in.ndjson"))

    def variable(self, *values):
        """Returns the type, the print format and the values of the variable that these values in JSON make."""
        file = self.made(*(f'{{"x": {value}}}' for value in values))
        (one,) = self.info(file)["variables"]
        return int(one["type"]), [int(part) for part in one["print"]], [row[0] for row in self.case_list(file)]

    def test_names_come_in_the_order_of_their_first_appearance(self):
        file = self.made('{"b": 1}', '{"c": "x", "a": 2.5, "b": 3}', "{}", '{"a": null}')
        self.assertEqual(["b", "c", "a"], [one["name"] for one in self.info(file)["variables"]])
        self.assertEqual([[1, "", None], [3, "x", 2.5], [None, "", None], [None, "", None]], self.case_list(file))

    def test_types_come_from_the_values(self):
        self.assertEqual((0, [5, 5, 2], [1, -2.25]), self.variable("1", "-2.25"))
        self.assertEqual((3, [1, 3, 0], ["x", "yyy", ""]), self.variable('"x"', '"yyy"', "null"))
        self.assertEqual((0, [20, 11, 0], [MARCH_14, None]), self.variable('"2024-03-14"', "null"))
        self.assertEqual((0, [21, 8, 0], [3661]), self.variable('"01:01:01"'))
        self.assertEqual(0, self.variable("null")[0])
        self.assertEqual((4, ["1582", "x"]), self.variable('"1582"', '"x"')[::2])
        self.assertEqual((3, ["007"]), self.variable('"007"')[::2])
        self.assertEqual((1, [""]), self.variable('""')[::2])
        self.assertEqual((10, ["2024-03-14", ""]), self.variable('"2024-03-14"', '""')[::2])
        self.assertEqual((0, [1, "NaN", "-Infinity"]), self.variable("1", '"NaN"', '"-Infinity"')[::2])
        self.assertEqual((3, ["NaN", "x"]), self.variable('"NaN"', '"x"')[::2])

    def test_names_are_mended_and_become_labels(self):
        file = self.made('{"my name": 1, "A": 2, "a": 3}', '{"a": 6, "A": 5, "my name": 4}')
        found = [(one["name"], one["label"]) for one in self.info(file)["variables"]]
        self.assertEqual([("myname", "my name"), ("A", None), ("a_A", "a")], found)
        self.assertEqual([[1, 2, 3], [4, 5, 6]], self.case_list(file))

    def test_errors_name_the_line(self):
        for lines, text in (
            (['{"a": 1}', '{"a": "x"}'], r"the value of a is text, but a number at line 1 \(at line 2\)"),
            (['{"a": "x"}', "{}", '{"a": 1}'], r"the value of a is a number, but text at line 1 \(at line 3\)"),
            (['{"a": 1}', '{"a": true}'], r"the value 'true' of a cannot be a value of a case \(at line 2\)"),
            (['{"a": 1}', '{"a": [1]}'], r"the value of a is a list \(at line 2\)"),
            (['{"a": 1}', '{"a": {"b": 1}}'], r"the value of a is an object \(at line 2\)"),
            (['{"a": 1}', "[1]"], r"must be an object with names and values \(at line 2\)"),
            (['{"a": 1}', "7"], r"must be an object with names and values \(at line 2\)"),
            (['{"a": 1}', '{"a": }'], r"not valid JSON from character \d+ on \(at line 2\)"),
            (['{"a": 1}', '{"a": 1e400}'], r"the number that ends at character 11 is too large \(at line 2\)"),
            (['{"a": 1}', '{"a": 12345678901234567890123}'], r"more digits than a number can hold \(at line 2\)"),
            (['{"a": 1}', '{"a": 9007199254740993}'], r"more digits than a number can hold \(at line 2\)"),
            (['{"a": 1, "a": 2}'], r"the name 'a' occurs twice \(at line 1\)"),
            (["{}"], "there is no object whose names could be variables"),
        ):
            with self.subTest(lines=lines):
                self.assertRegex(self.refused_lines(*lines), text)
        self.assertIn("no object", self.refused(self.text_file("", "in.ndjson")))
        self.assertIn("than 100000 names", self.refused_lines("{" + ",".join(f'"v{k}":1' for k in range(100_001)) + "}"))
        self.assertIn("40000 bytes", self.refused_lines('{"a": "' + "x" * 40_000 + '"}'))

    def test_lists_need_a_dictionary(self):
        self.assertIn("--dictionary", self.refused(self.text_file("[1]\n", "in.jsonl"), status=2))

    def test_pipes_and_packed_files(self):
        data = b"".join(b'{"a": %d, "t": "%s"}\n' % (k, b"x" * (k % 50)) for k in range(50_000))
        wanted = [[k, "x" * (k % 50)] for k in range(50_000)]
        out = self.folder / "o.quav"
        for arguments in (["-"], ["-", "--from", "ndjson"]):
            self.assertEqual((0, b"", ""), self.piped(data, "convert", arguments[0], out, *arguments[1:]))
            self.assertEqual(wanted, self.case_list(out))
        self.assertEqual(wanted, self.case_list(self.convert(self.text_file(gzip.compress(data), "in.ndjson.gz"))))

    def test_what_cat_writes_is_read(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                lines = self.text_file(self.out("cat", "--format", "ndjson", "--raw", sample), "cases.ndjson")
                out = self.folder / "out.quav"
                done = self.run_tool("convert", lines, out)
                self.assertEqual(0, done.returncode, done.stderr)
                rows = [[None if value == "" else value for value in row] for row in self.case_list(out)]
                wanted = [[None if value == "" else value for value in row] for row in self.case_list(sample)]
                self.assertEqual(repr(wanted), repr(rows))


class Suffixes(FormsTest):
    def test_cat_writes_the_form_of_the_suffix(self):
        file = self.file(people())
        for name, form in (("o.csv", "csv"), ("o.TSV", "tsv"), ("o.jsonl", "jsonl"), ("o.ndjson", "ndjson"), ("o", "csv"), ("o.dat", "csv")):
            with self.subTest(name=name):
                out = self.folder / name
                self.assertEqual("", self.out("cat", file, "-o", out))
                self.assertEqual(self.out("cat", file, "--format", form), out.read_text(encoding="utf-8"))
                self.out("cat", file, "-o", out, "--format", "jsonl")
                self.assertEqual(self.out("cat", file, "--format", "jsonl"), out.read_text(encoding="utf-8"))
        packed = self.folder / "o.ndjson.gz"
        self.out("cat", file, "-o", packed)
        self.assertEqual(self.out("cat", file, "--format", "ndjson"), gzip.decompress(packed.read_bytes()).decode())
        self.assertIn("datasrc convert", self.fails(2, "cat", file, "-o", self.folder / "o.quav"))
        self.assertIn("for CSV", self.fails(2, "cat", file, "-o", self.folder / "o.jsonl", "--delimiter", ";"))
        self.assertIn("not packed", self.fails(2, "cat", file, "-o", self.folder / "o.arrow.gz"))

    def test_foreign_suffixes_are_refused_with_a_hint(self):
        file = self.csv_file("a\n1\n")
        for name, hint in (
            ("o.parquet", r"\.csv"),
            ("o.xlsx", "spreadsheets"),
            ("o.JSON", r"\.jsonl"),
            ("o.feather", r"\.arrow"),
            ("o.sqlite", "databases"),
            ("o.zip", r"\.gz"),
            ("o.txt", "--to csv"),
            ("o.quav.gz", "--compress zlib"),
            ("o.gz", "--compress zlib"),
        ):
            for command in ("convert", "concat"):
                with self.subTest(name=name, command=command):
                    arguments = [file, self.folder / name] if command == "convert" else [self.folder / name, file]
                    self.assertRegex(self.fails(2, command, *arguments), hint)
                    self.assertFalse((self.folder / name).exists())

    def test_cat_report_and_verify_refuse_suffixes_of_other_forms(self):
        file = self.file(people())
        for command, suffixes in (
            (["cat", file, "-o"], "parquet xlsx json zip html"),
            (["report", file, "-o"], "parquet json txt csv csv.gz arrow gz"),
            (["verify", file, "--salvage"], "csv jsonl arrow parquet html txt csv.gz gz"),
        ):
            for suffix in suffixes.split():
                with self.subTest(command=command[0], suffix=suffix):
                    out = self.folder / f"o.{suffix}"
                    self.fails(2, *command, out)
                    self.assertFalse(out.exists())
        self.assertIn("standard output", self.fails(2, "verify", file, "--salvage", "-"))
        self.out("cat", file, "-o", self.folder / "o.txt")
        self.out("cat", file, "-o", self.folder / "o.json", "--format", "jsonl")
        self.out("report", file, "-o", self.folder / "o.htm")

    def test_other_suffixes_are_system_files(self):
        for name in ("o", "o.quav", "o.sys", "o.data.new"):
            self.assertEqual([[1]], self.case_list(self.convert(self.csv_file("a\n1\n"), name=name)))


class StandardInput(FormsTest):
    def test_cat_and_info_read_a_system_file_from_a_pipe(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                data = sample.read_bytes()
                status, out, _ = self.piped(data, "cat", "-", "--format", "jsonl")
                self.assertEqual((0, self.out("cat", sample, "--format", "jsonl")), (status, out.decode()))
        shown = self.piped(data, "info", "-")[1].decode()
        self.assertEqual(self.out("info", sample), shown.replace("/dev/stdin", str(sample)))
        with open(sample, "rb") as stream:
            self.assertEqual(self.out("cat", sample, "--format", "csv"), self.run_tool("cat", "-", stdin=stream).stdout)

    def test_system_file_in_a_pipe_is_converted_and_appended(self):
        file = self.convert(self.csv_file("a,b\n1,x\n"))
        status, out, error = self.piped(file.read_bytes(), "convert", "-", "-", "--to", "csv")
        self.assertEqual((0, b"a,b\n1,x\n", ""), (status, out, error))
        self.assertEqual((0, b"", ""), self.piped(file.read_bytes(), "append", file, "-"))
        self.assertEqual([[1, "x"]] * 2, self.case_list(file))

    def test_what_is_no_system_file_is_an_error(self):
        status, _, error = self.piped(b"some text" * 100, "cat", "-")
        self.assertEqual(1, status)
        self.assertRegex(error, r"\Adatasrc: error 1204: ")


class Passwords(FormsTest):
    def test_password_for_a_plain_file_is_a_warning(self):
        password = self.text_file("secret\n", "password")
        password.chmod(0o600)
        file = self.convert(self.csv_file("a\n1\n"))
        for arguments in (
            ["info", file],
            ["cat", file],
            ["convert", file, self.folder / "o.quav"],
            ["convert", self.csv_file("a\n1\n"), self.folder / "o.quav"],
            ["append", file, self.csv_file("a\n2\n", "more.csv")],
        ):
            with self.subTest(arguments=arguments):
                warnings = self.warned(*arguments, "--password-file", password)
                self.assertEqual(1, len(warnings))
                self.assertRegex(warnings[0], "is not encrypted, so the password is not used")
        self.assertEqual([[1], [2]], self.case_list(file))


class Selections(FormsTest):
    TEXT = "id,name,pay\n3,Cay,1.5\n1,Ann,\n2,Bob,-7\n1,Zoe,9\n"

    def selected(self, *options, name="o.csv"):
        return self.convert(self.csv_file(self.TEXT), *options, name=name)

    def test_columns_and_rows(self):
        self.assertEqual("pay,id\n,1\n-7,2\n", self.selected("--columns", "pay,ID", "--rows", "1:3").read_text())
        self.assertEqual("id,id\n3,3\n", self.selected("--columns", "id,id", "--rows", ":1").read_text())
        file = self.selected("--columns", "pay,id", "--rows", "2:", name="o.quav")
        self.assertEqual([[-7, 2], [9, 1]], self.case_list(file))
        again = self.convert(file, "--columns", "id", name="again.quav")
        self.assertEqual([[2], [1]], self.case_list(again))
        self.assertEqual(2, self.info(again)["cases"])
        self.refused(self.csv_file(self.TEXT), "--columns", "id,id", status=2)
        self.assertIn("error 1507", self.refused(self.csv_file(self.TEXT), "--columns", "nothing"))
        self.assertIn("error 1507", self.refused(self.csv_file(self.TEXT), "--sort", "nothing"))

    def test_labels(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file, "--labels"), self.convert(file, "--labels", name="o.csv").read_text(encoding="utf-8"))

    def test_sort(self):
        self.assertEqual("id,name,pay\n1,Ann,\n1,Zoe,9\n2,Bob,-7\n3,Cay,1.5\n", self.selected("--sort", "id").read_text())
        self.assertEqual("name\nZoe\nAnn\nBob\nCay\n", self.selected("--sort", "id,pay:desc", "--columns", "name").read_text())
        self.assertEqual("name\nZoe\nCay\nBob\nAnn\n", self.selected("--sort", "NAME:desc", "--columns", "name").read_text())
        self.assertEqual("id\n1\n3\n", self.selected("--sort", "id:asc", "--columns", "id", "--rows", ":2").read_text())

    def test_new_file_carries_its_sort_keys(self):
        file = self.selected("--sort", "name:desc,id", name="o.quav")
        info = self.info(file)
        self.assertEqual([[1, -1, 3], [0, 1, 0]], info["sort_keys"])
        self.assertEqual([1, 4], [row for _, row in info["sort_index"]])
        part = self.info(self.convert(file, "--columns", "name", name="part.quav"))
        self.assertEqual([], part["sort_keys"])
        moved = self.info(self.selected("--sort", "pay,id", "--columns", "name,pay", name="moved.quav"))
        self.assertEqual([[1, 1, 0]], moved["sort_keys"])
        empty = self.convert(self.csv_file("a\n"), "--sort", "a", name="empty.quav")
        self.assertEqual([[0, 1, 0]], self.info(empty)["sort_keys"])
        ordered = self.convert(file, name="copy.quav")
        self.assertEqual(info["sort_keys"], self.info(ordered)["sort_keys"])

    def test_sort_with_little_memory_gives_the_same(self):
        seed = random.randrange(1 << 32)
        source = random.Random(seed)
        rows = "".join(f"{source.randrange(50)},{source.choice('abc')},{i}\n" for i in range(60_000))
        file = self.csv_file("x,y,i\n" + rows)
        wanted = sorted((line.split(",") for line in rows.splitlines()), key=lambda row: int(row[0]))
        wanted.sort(key=lambda row: row[1], reverse=True)
        wanted = "x,y,i\n" + "".join(",".join(row) + "\n" for row in wanted)
        for memory in ("1", "1G"):
            with self.subTest(memory=memory, seed=seed):
                out = self.convert(file, "--sort", "y:desc,x", "--memory", memory, name="o.csv")
                self.assertTrue(wanted == out.read_text())

    @unsanitized
    def test_sort_takes_no_more_memory_for_more_runs(self):
        file = self.csv_file("x,y,i\n" + "".join(f"{i * 7919 % 100_003},{i % 10},{i}\n" for i in range(400_000)))
        out = self.folder / "o.quav"
        process = subprocess.Popen([tool_test.BINARY, "convert", file, out, "--sort", "x", "--memory", "1M", "--no-sync"])
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(0, process.returncode)
        self.assertLess(used.ru_maxrss, 100 << 10)  # in KiB: four streams of some 8 MiB, and the rest of the tool
        self.assertEqual(400_000, self.info(out)["cases"])

    def test_samples_are_sorted_by_their_columns(self):
        for sample in good_samples(SAMPLES):
            info = self.info(sample)
            if not info["variables"] or self.raw_cases(sample).count("\n") > 20_000:
                continue
            with self.subTest(sample=sample.name):
                name = info["variables"][0]["name"]
                out = self.folder / "o.quav"
                done = self.run_tool("convert", sample, out, "--sort", name)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertEqual(sorted(self.raw_cases(sample).splitlines()), sorted(self.raw_cases(out).splitlines()))


class Many(FormsTest):
    def test_many_files_are_appended_in_their_order(self):
        file = self.convert(self.csv_file("a,b\n1,x\n"))
        inputs = [self.csv_file(f"b,a\ny,{i}\n", f"in{i}.csv") for i in range(5)]
        inputs.append(self.text_file('{"a":7}\n', "in.ndjson"))
        text = self.out("append", file, *inputs)
        self.assertEqual([[1, "x"]] + [[i, "y"] for i in range(5)] + [[7, ""]], self.case_list(file))
        self.assertEqual([f"{path}: 1 case added" for path in inputs], text.splitlines())

    def test_all_differences_are_listed_before_anything_is_added(self):
        file = self.convert(self.csv_file("a,b\n1,x\n"))
        before = file.read_bytes()
        good = self.csv_file("a,b\n2,y\n", "good.csv")
        wrong = self.convert(self.csv_file("a,c,d\nxyz,1,2\n"), name="wrong.quav")
        other = self.csv_file("a\n1\n", "other.csv")
        line = self.fails(1, "append", file, good, wrong, other)
        for part in (
            "the variable a is text of 3 bytes but should be a number",
            "there is no variable b",
            "the variable c is not expected",
            "the variable d is not expected",
            "no column for the variable b",
        ):
            self.assertIn(part, line)
        self.assertEqual(before, file.read_bytes())

    def test_concat_makes_a_file_of_all_cases(self):
        one = self.csv_file("a,b\n1,x\n", "one.csv")
        two = self.csv_file("B,A\nlonger,2.5\n", "two.csv")
        out = self.folder / "o.quav"
        self.assertEqual(f"{one}: 1 case added\n{two}: 1 case added\n", self.out("concat", out, one, two))
        self.assertEqual([[1, "x"], [2.5, "longer"]], self.case_list(out))
        self.assertEqual(6, self.info(out)["variables"][1]["type"])
        both = self.folder / "both.csv"
        self.out("concat", both, out, out)
        self.assertEqual("a,b\n1,x\n2.5,longer\n1,x\n2.5,longer\n", both.read_text())
        self.assertEqual("a,b\n1,x\n2.5,longer\n", self.out("concat", "-", out, "--to", "csv"))

    def test_concat_of_objects_looks_at_all_of_them(self):
        one = self.text_file('{"a": 1, "my text": "x"}\n', "one.ndjson")
        two = self.text_file('{"my text": "longer"}\n{"c": "2024-03-01", "a": 2.5}\n', "two.ndjson")
        out = self.folder / "o.quav"
        self.assertEqual(f"{one}: 1 case added\n{two}: 2 cases added\n", self.out("concat", out, one, two))
        self.assertEqual("a,mytext,c\n1,x,\n,longer,\n2.5,,2024-03-01\n", self.out("cat", out, "--format", "csv"))
        self.assertEqual("my text", self.info(out)["variables"][1]["label"])
        three = self.csv_file("c,mytext,a\n2024-03-02,y,3\n", "three.csv")
        self.out("concat", out, one, three, two)
        self.assertEqual([1, 3, None, 2.5], [row[0] for row in self.case_list(out)])

    def test_concat_names_the_other_file_of_a_mixed_member(self):
        one = self.text_file('{"b": 1}\n{"a": 1}\n', "one.ndjson")
        two = self.text_file('{"a": "x"}\n', "two.ndjson")
        line = self.fails(1, "concat", self.folder / "o.quav", one, two)
        self.assertRegex(line, r"the value of a is text, but a number at line 2 of .*one\.ndjson \(at line 1\): .*two\.ndjson")

    def test_concat_cannot_begin_with_lists_or_with_a_pipe_of_objects(self):
        lists = self.text_file("[1]\n", "one.jsonl")
        self.assertIn("lists have no names", self.fails(2, "concat", self.folder / "o.quav", lists))
        self.assertIn("cannot be read twice", self.fails(2, "concat", self.folder / "o.quav", "-", "--from", "ndjson"))

    def test_concat_keeps_the_dictionary_of_the_first_file(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                out = self.folder / "o.quav"
                done = self.run_tool("concat", out, sample, sample)
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertEqual(self.raw_cases(sample) * 2, self.raw_cases(out))
                for member in ("label", "weight", "variables", "documents", "mr_sets", "attributes"):
                    self.assertEqual(self.info(sample)[member], self.info(out)[member])

    def test_concat_refuses_differences(self):
        one = self.csv_file("a\n1\n", "one.csv")
        two = self.convert(self.csv_file("a,b\nx,1\n"), name="two.quav")
        out = self.folder / "o.quav"
        line = self.fails(1, "concat", out, one, two)
        self.assertIn("the variable a is text", line)
        self.assertIn("the variable b is not expected", line)
        self.assertFalse(out.exists())
        self.assertIn("would replace", self.fails(1, "concat", two, two, one))


@unsanitized
class Wide(FormsTest):
    """Every command on 10,000 variables. Only work that grows with their square takes as long as the limit."""

    COLUMNS = 10_000
    SECONDS = 10

    def quick(self, *arguments):
        begin = time.monotonic()
        text = self.out(*arguments)
        self.assertLess(time.monotonic() - begin, self.SECONDS)
        return text

    def test_every_command_takes_many_variables(self):
        wide = SystemFile()
        for k in range(self.COLUMNS):
            wide.variable(f"V{k}", label=f"the label {k}")
        for k in range(self.COLUMNS):
            wide.value_labels([(1, "one"), (2, "two")], [k + 1])
        for row in range(3):
            wide.case(*range(row, row + self.COLUMNS))
        file = self.file(wide)
        numbers = [list(map(float, range(row, row + self.COLUMNS))) for row in range(3)]
        self.assertEqual(self.COLUMNS, len(json.loads(self.quick("info", file, "--json"))["variables"]))
        self.assertIn("the label 9999", self.quick("info", file))
        self.assertIn("the label 9998", self.quick("info", file, "V9998"))
        for form, lines in (("csv", 4), ("jsonl", 3), ("ndjson", 3), ("table", 5)):
            self.assertEqual(lines, self.quick("cat", file, "--format", form).count("\n"))
        for name in ("o.csv", "o.tsv", "o.jsonl", "o.ndjson", "o.arrow", "o.csv.gz", "z.quav"):
            with self.subTest(name=name):
                out = self.folder / name
                self.quick("convert", file, out, "--no-sync", *(["--compress", "zlib"] if name == "z.quav" else []))
                if name not in ("o.jsonl", "z.quav"):
                    self.quick("convert", out, self.folder / "o.quav", "--no-sync")
                    self.assertEqual(numbers, self.case_list(self.folder / "o.quav"))
        chosen = ",".join(f"V{k}" for k in reversed(range(self.COLUMNS)))
        self.quick("convert", file, self.folder / "chosen.quav", "--columns", chosen, "--sort", "V5:desc,V6", "--no-sync")
        self.assertEqual([row[::-1] for row in numbers[::-1]], self.case_list(self.folder / "chosen.quav"))
        self.assertEqual(self.COLUMNS, len(json.loads(self.quick("stats", file, "--json"))["variables"]))
        self.quick("stats", file)
        self.quick("report", file, "-o", self.folder / "o.html", "--no-sync")
        self.assertIn("the label 9999", (self.folder / "o.html").read_text())
        self.quick("verify", file)
        self.assertEqual("", self.quick("diff", file, self.folder / "z.quav"))
        self.assertEqual(1, self.run_tool("diff", file, self.folder / "chosen.quav").returncode)
        both = self.folder / "both.quav"
        self.quick("concat", both, file, self.folder / "z.quav", "--no-sync")
        self.quick("append", both, self.folder / "o.csv", self.folder / "o.ndjson", self.folder / "o.arrow", "--no-sync")
        self.assertEqual(numbers * 5, self.case_list(both))


class Signals(FormsTest):
    # Without /proc there are no nameless files, so a new file has a name until it is complete.
    WITHOUT_PROC = ["unshare", "-rm", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh"]

    def setUp(self):
        super().setUp()
        if shutil.which("unshare") is None:
            self.skipTest("there is no unshare")
        if subprocess.run([*self.WITHOUT_PROC, "true"], capture_output=True, check=False).returncode != 0:
            self.skipTest("no mount namespace can be made")

    @unsanitized
    def test_stats_and_report_end_by_signals_and_leave_no_part(self):
        # A file of zeros, most of which no disk has: to pass it takes long.
        file = self.file(SystemFile(cases=-1).variable("A").variable("B"))
        os.truncate(file, 1 << 36)
        for command in (["stats", file], ["report", file, "-o", self.folder / "out.html"]):
            for number in (signal.SIGTERM, signal.SIGINT):
                with self.subTest(command=command[0], signal=number):
                    process = subprocess.Popen(
                        [*self.WITHOUT_PROC, tool_test.BINARY, *map(str, command)],
                        stdout=subprocess.PIPE,
                        stderr=subprocess.PIPE,
                    )
                    end = time.monotonic() + TIMEOUT
                    while not self.reads(process, file) or (command[0] == "report" and not self.parts("out.html")):
                        self.assertIsNone(process.poll())
                        self.assertLess(time.monotonic(), end)
                        time.sleep(0.01)
                    process.send_signal(number)
                    self.assertEqual((b"", b""), process.communicate(timeout=TIMEOUT))
                    self.assertEqual(-number, process.returncode)
                    self.assertEqual([file.name], os.listdir(self.folder))

    def parts(self, name):
        return list(self.folder.glob(name + ".*"))

    @staticmethod
    def reads(process, file):
        """Returns whether the process has the file open."""
        descriptors = pathlib.Path(f"/proc/{process.pid}/fd")
        return any(descriptor.exists() and descriptor.samefile(file) for descriptor in descriptors.iterdir())

    def test_signals_leave_no_part_of_a_file(self):
        pipe = self.folder / "in.csv"
        os.mkfifo(pipe)
        dictionary = self.dictionary({"variables": [{"name": "a", "type": 0}]})
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number):
                process = subprocess.Popen(
                    [*self.WITHOUT_PROC, tool_test.BINARY, "convert", pipe, self.folder / "out.quav", "--dictionary", dictionary]
                )
                with open(pipe, "wb") as writer:
                    writer.write(b"a\n" + b"1\n" * 300_000)
                    writer.flush()
                    end = time.monotonic() + TIMEOUT
                    while not self.parts("out.quav") and time.monotonic() < end:
                        time.sleep(0.01)
                    self.assertEqual(1, len(self.parts("out.quav")))
                    process.send_signal(number)
                    self.assertEqual(-number, process.wait(TIMEOUT))
                self.assertEqual({"in.csv", "dictionary.json"}, set(os.listdir(self.folder)))


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    convert_test.SAMPLES = SAMPLES
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
