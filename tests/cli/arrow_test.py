"""Runs `datasrc` on Arrow files, and compares them with what another implementation reads and writes.

    arrow_test.py BINARY SAMPLES

The test uses the pyarrow that scripts/setup.sh installs into build/python, or else the system's. Without one it is
skipped: it says so and returns 77.
"""

import datetime
import decimal
import io
import json
import math
import os
import pathlib
import random
import subprocess
import sys
import unittest

import convert_test
import tool_test
from convert_test import OF_THE_FILE, ConvertTest
from system_file import SystemFile
from tool_test import DATE, DATE_TIME, IS_SANITIZED, MARCH_14, TIME, good_samples, people

SAMPLES = pathlib.Path()
SKIPPED = 77
NAMES = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}


def bits(value):
    """A value that equals another only if a file would hold the same."""
    return ("NaN",) if isinstance(value, float) and math.isnan(value) else (type(value), repr(value))


class ArrowTest(ConvertTest):
    def read(self, path):
        """Returns the table of a file, checked."""
        with pyarrow.OSFile(str(path)) as file:
            table = pyarrow.ipc.open_file(file).read_all()
        table.validate(full=True)
        return table

    def written(self, source, *options, name="out.arrow"):
        return self.read(self.convert(source, *options, name=name))

    def rows_of(self, table):
        return [list(row) for row in zip(*(column.to_pylist() for column in table.columns))]

    def assert_same_rows(self, wanted, found):
        self.assertEqual(len(wanted), len(found))
        for row, (one, other) in enumerate(zip(wanted, found)):
            one = [NAMES.get(left, left) if isinstance(right, float) else left for left, right in zip(one, other)]
            one = [float(value) if isinstance(value, int) else value for value in one]
            self.assertEqual(list(map(bits, one)), list(map(bits, other)), f"case {row}")


class Writing(ArrowTest):
    def test_every_sample_has_its_cases_and_its_dictionary(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                table = self.written(sample, "--raw")
                wanted = [json.loads(line) for line in self.raw_cases(sample).splitlines()]
                self.assert_same_rows(wanted, self.rows_of(table))
                info = self.info(sample)
                self.assertEqual([variable["name"] for variable in info["variables"]], table.schema.names)
                found = json.loads(table.schema.metadata[b"datasrc.file"], parse_int=float)
                found["variables"] = [
                    json.loads(field.metadata[b"datasrc.variable"], parse_int=float) for field in table.schema
                ]
                self.assertEqual(info, found)

    def test_dates_and_times_have_their_types(self):
        file = self.file(
            SystemFile()
            .variable("A", print_format=DATE)
            .variable("B", print_format=DATE_TIME)
            .variable("C", print_format=TIME)
            .case(MARCH_14, MARCH_14 + 0.5, 3661.25)
            .case(None, None, None)
        )
        table = self.written(file)
        self.assertEqual([pyarrow.date32(), pyarrow.timestamp("us"), pyarrow.duration("us")], table.schema.types)
        first, second = self.rows_of(table)
        day = datetime.date(2024, 3, 14)
        moment = datetime.datetime(2024, 3, 14, 0, 0, 0, 500_000)
        self.assertEqual([day, moment, datetime.timedelta(seconds=3661.25)], first)
        self.assertEqual([None, None, None], second)
        raw = self.written(file, "--raw", name="raw.arrow")
        self.assertEqual([MARCH_14, MARCH_14 + 0.5, 3661.25], self.rows_of(raw)[0])

    def test_date_with_a_time_of_day_needs_raw(self):
        file = self.file(SystemFile().variable("A", print_format=DATE).case(0).case(MARCH_14 + 1))
        line = self.refused(file, name="out.arrow")
        self.assertIn("of the variable a in case 1 cannot be a date32 without loss: read it as a number with --raw", line)
        self.assertEqual([[0], [MARCH_14 + 1]], self.rows_of(self.written(file, "--raw")))

    def test_labels_are_dictionaries(self):
        table = self.written(self.file(people()), "--labels", "--raw")
        plain = self.out("cat", "--labels", "--raw", "--format", "jsonl", self.file(people(), "again.quav"))
        types = [pyarrow.types.is_dictionary(one) for one in table.schema.types]
        self.assertIn(True, types)
        for wanted, row in zip(map(json.loads, plain.splitlines()), self.rows_of(table)):
            for is_dictionary, one, other in zip(types, wanted, row):
                if is_dictionary:
                    self.assertEqual(None if one is None else str(one), other)

    def test_values_without_a_label_join_the_dictionary_of_later_batches(self):
        count = 150_000  # several batches
        rows = "a\n" + "".join(f"{row // 1000}\n" for row in range(count))
        dictionary = self.dictionary(
            {"variables": [{"name": "a", "type": 0, "value_labels": [[0, "none"], [7, "seven"], [8, ""]]}]}
        )
        file = self.convert(self.csv_file(rows), "--dictionary", dictionary)
        table = self.written(file, "--labels")
        self.assertGreater(len(table.column(0).chunks), 1)
        labels = {0: "none", 7: "seven", 8: ""}
        wanted = [labels.get(row // 1000, str(row // 1000)) for row in range(count)]
        self.assertEqual(wanted, table.column(0).to_pylist())
        self.assertEqual(1, len({str(chunk.dictionary) for chunk in table.column(0).chunks}))

    def test_columns_rows_and_order_are_chosen(self):
        source = self.csv_file("a,b,c\n1,x,3\n2,,1\n,z,2\n4,w,0\n")
        table = self.written(source, "--columns", "c,a", "--rows", "1:4", "--sort", "a:desc")
        self.assertEqual(["c", "a"], table.schema.names)
        self.assertEqual([[0, 4], [1, 2], [2, None]], self.rows_of(table))

    def test_column_may_be_chosen_twice(self):
        table = self.written(self.csv_file("a,b\n1,2\n"), "--columns", "b,a,b")
        self.assertEqual((["b", "a", "b"], [[2, 1, 2]]), (table.schema.names, self.rows_of(table)))

    def test_file_without_cases_has_its_schema(self):
        tree = {"variables": [{"name": "a", "type": 0, "value_labels": [[1, "one"]]}, {"name": "b", "type": 300}]}
        file = self.convert(self.csv_file("a,b\n"), "--dictionary", self.dictionary(tree))
        for options in ([], ["--labels"]):
            table = self.written(file, *options)
            self.assertEqual((0, ["a", "b"]), (table.num_rows, table.schema.names))

    def test_10000_columns(self):
        names = [f"v{k}" for k in range(10_000)]
        table = self.written(self.csv_file(",".join(names) + "\n" + ",".join(str(k) for k in range(10_000)) + "\n"))
        self.assertEqual(names, table.schema.names)
        self.assertEqual([float(k) for k in range(10_000)], self.rows_of(table)[0])

    def test_several_files_become_one(self):
        one, two = self.csv_file("a,b\n1,x\n", "one.csv"), self.csv_file("B,A\nyy,2\n", "two.csv")
        out = self.folder / "all.arrow"
        self.assertIn("1 case added", self.out("concat", out, one, two))
        self.assertEqual([[1, "x"], [2, "yy"]], self.rows_of(self.read(out)))

    def test_new_file_says_how_its_own_cases_are_sorted(self):
        file = self.convert(self.csv_file("a,b,c\n1,3,7\n2,2,6\n3,1,5\n"), "--sort", "a", name="sorted.quav")
        self.assertEqual([[0, 1, 0]], self.info(file)["sort_keys"])
        for options, keys in (
            ([], [[0, 1, 0]]),
            (["--columns", "b,c"], []),
            (["--columns", "c,b,a"], []),
            (["--rows", "1:3"], []),
            (["--sort", "b"], [[1, 1, 0]]),
            (["--sort", "c", "--columns", "b,c"], [[1, 1, 0]]),
            (["--sort", "c", "--columns", "a,b"], []),
        ):
            with self.subTest(options=options):
                again = self.info(self.convert(self.convert(file, *options, name="o.arrow"), name="again.quav"))
                other = self.info(self.convert(file, *options, name="other.quav"))
                self.assertEqual(keys, again["sort_keys"])
                self.assertEqual(other["sort_index"], again["sort_index"])
                if "--sort" not in options:
                    self.out("cat", file, *options, "-o", self.folder / "cat.arrow")
                    self.assertEqual(keys, self.info(self.convert(self.folder / "cat.arrow", name="x.quav"))["sort_keys"])
        both = self.folder / "both.arrow"
        self.out("concat", both, file, file)
        self.assertEqual([], self.info(self.convert(both, name="x.quav"))["sort_keys"])

    def test_metadata_count_the_rows_of_the_file(self):
        file = self.convert(self.csv_file("a\n1\n2\n3\n"))
        for rows, count in (("1:100", 2), ("1:2", 1), ("3:", 0), ("5:9", 0), (":", 3)):
            self.out("cat", file, "--rows", rows, "-o", self.folder / "o.arrow")
            metadata = self.read(self.folder / "o.arrow").schema.metadata
            (text,) = (value for key, value in metadata.items() if b'"cells_per_case"' in value)
            self.assertEqual(count, json.loads(text)["cases"])

    def test_system_files_become_one(self):
        files = [self.convert(self.csv_file(f"a\n{k}\n"), name=f"{k}.quav") for k in range(3)]
        out = self.folder / "all.arrow"
        self.out("concat", out, *files)
        self.assertEqual([[0], [1], [2]], self.rows_of(self.read(out)))

    def test_cat_writes_arrow_files(self):
        file = self.convert(self.csv_file("a,b\n1,x\n2,y\n3,z\n"))
        self.assertEqual("", self.out("cat", file, "-o", self.folder / "o.arrow", "--columns", "b,a", "--rows", "1:"))
        self.assertEqual([["y", 2], ["z", 3]], self.rows_of(self.read(self.folder / "o.arrow")))
        with open(self.folder / "p.arrow", "wb") as out:
            self.assertEqual(0, self.run_tool("cat", file, "--format", "arrow", "--rows", ":2", stdout=out).returncode)
        self.assertEqual([[1, "x"], [2, "y"]], self.rows_of(self.read(self.folder / "p.arrow")))
        self.assertIn("for CSV", self.fails(2, "cat", file, "-o", self.folder / "o.arrow", "--quote", "'"))

    def test_buffers_are_aligned_to_64_bytes(self):
        data = self.convert(self.csv_file("a,b\n" + "1,x\n" * 100), name="out.arrow").read_bytes()
        self.assertEqual(b"ARROW1\0\0", data[:8])
        self.assertEqual(b"ARROW1", data[-6:])
        with pyarrow.memory_map(str(self.folder / "out.arrow")) as file:
            batch = pyarrow.ipc.open_file(file).get_batch(0)
            self.assertEqual(
                {0}, {buffer.address % 64 for column in batch.columns for buffer in column.buffers() if buffer}
            )

    def test_standard_output_is_an_arrow_file(self):
        with open(self.folder / "out.arrow", "wb") as file:
            done = self.run_tool("convert", self.csv_file("a\n1\n"), "-", "--to", "arrow", stdout=file)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertEqual([[1]], self.rows_of(self.read(self.folder / "out.arrow")))

    def test_what_an_arrow_file_cannot_be_is_refused(self):
        source = self.csv_file("a\n1\n")
        self.assertIn("not packed", self.refused(source, name="o.arrow.gz", status=2))
        self.assertIn("not packed", self.refused(source, "--to", "arrow", name="o.csv.gz", status=2))
        self.assertIn("not packed", self.fails(2, "concat", self.folder / "o.arrow.gz", source))
        self.assertIn("for system files", self.refused(source, "--compress", "none", name="o.arrow", status=2))
        self.assertIn("--raw", self.refused(source, "--raw", status=2))
        self.assertIn("for CSV", self.refused(self.convert(source), "--delimiter", ";", name="o.arrow", status=2))

    def test_fault_of_the_input_leaves_no_file_and_keeps_its_number(self):
        file = self.convert(self.csv_file("a\n" + "1.5\n" * 100_000))
        cut = self.text_file(file.read_bytes()[:-999], "cut.quav")
        self.assertRegex(self.refused(cut, name="o.arrow"), r"error 1205: .*: .*cut\.quav")


class Reading(ArrowTest):
    def arrow_file(self, table, name="in.arrow", options=None, **batches):
        path = self.folder / name
        with pyarrow.OSFile(str(path), "wb") as file:
            with pyarrow.ipc.new_file(file, table.schema, options=options) as writer:
                writer.write_table(table, **batches)
        return path

    def cases_of(self, table, *options, **how):
        return self.case_list(self.convert(self.arrow_file(table, **how), *options))

    def test_every_sample_comes_back(self):
        for sample in good_samples(SAMPLES):
            for options in ([], ["--raw"], ["--labels"], ["--labels", "--raw"]):
                with self.subTest(sample=sample.name, options=options):
                    arrow = self.folder / "whole.arrow"
                    done = self.run_tool("convert", sample, arrow, *options)
                    if done.returncode != 0:
                        self.assertNotIn("--raw", options)  # a value that is no date
                        self.assertIn("read it as a number with --raw", done.stderr)
                        continue
                    again = self.folder / "again.quav"
                    self.assertEqual(0, self.run_tool("convert", arrow, again).returncode)
                    wanted, found = self.info(sample), self.info(again)
                    for member in OF_THE_FILE - {"cases"}:
                        wanted.pop(member), found.pop(member)
                    if wanted["cases"] is None or "count" in sample.name:
                        wanted.pop("cases"), found.pop("cases")
                    self.assertEqual(wanted, found)
                    self.assertEqual(self.raw_cases(sample), self.raw_cases(again))

    def test_numbers_of_every_type(self):
        values = [0, 1, None, 100]
        types = [getattr(pyarrow, f"{sign}int{bits}")() for sign in ("", "u") for bits in (8, 16, 32, 64)]
        types += [pyarrow.float32(), pyarrow.float64(), pyarrow.decimal128(9, 2), pyarrow.decimal256(50, 0)]
        types += [pyarrow.decimal32(7, 1), pyarrow.decimal64(12, 3)]
        numbers = [None if value is None else decimal.Decimal(value) for value in values]
        table = pyarrow.table({
            f"v{k}": pyarrow.array(numbers if pyarrow.types.is_decimal(one) else values, one) for k, one in enumerate(types)
        })
        table = table.append_column("b", pyarrow.array([True, False, None, True]))
        table = table.append_column("n", pyarrow.nulls(4))
        table = table.append_column("h", pyarrow.array([0, 1, None, 100], pyarrow.float64()).cast(pyarrow.float16()))
        wanted = [[value] * len(types) for value in values]
        for row, boolean in zip(wanted, (1, 0, None, 1)):
            row += [boolean, None, row[0]]
        for rows in (None, 1, 3):
            self.assertEqual(wanted, self.cases_of(table, max_chunksize=rows))

    def test_texts_of_every_type(self):
        values = ["a", None, "", "räksmörgås", "longer than twelve bytes", "x" * 300]
        types = [pyarrow.utf8(), pyarrow.large_utf8(), pyarrow.string_view()]
        types += [pyarrow.dictionary(index, pyarrow.utf8()) for index in (pyarrow.int8(), pyarrow.uint32(), pyarrow.int64())]
        table = pyarrow.table({f"t{k}": pyarrow.array(values).cast(one) for k, one in enumerate(types)})
        wanted = [[value or ""] * len(types) for value in values]
        for rows in (None, 2):
            self.assertEqual(wanted, self.cases_of(table, max_chunksize=rows))

    def test_dates_and_times_of_every_type(self):
        moment = datetime.datetime(2024, 3, 14, 10, 20, 30)
        columns = {f"m{unit}": pyarrow.array([moment, None], pyarrow.timestamp(unit)) for unit in ("s", "ms", "us", "ns")}
        for unit in ("s", "ms", "us", "ns"):
            columns[f"d{unit}"] = pyarrow.array([datetime.timedelta(days=2, seconds=3), None], pyarrow.duration(unit))
        for name, one in (("t1", pyarrow.time32("s")), ("t2", pyarrow.time32("ms")), ("t3", pyarrow.time64("us"))):
            columns[name] = pyarrow.array([datetime.time(1, 2, 3), None], one)
        columns["x"] = pyarrow.array([moment.date(), None], pyarrow.date32())
        columns["y"] = pyarrow.array([moment.date(), None], pyarrow.date64())
        out = self.out("cat", self.convert(self.arrow_file(pyarrow.table(columns))))
        fields = ["2024-03-14T10:20:30"] * 4 + ["P2DT0H0M3S"] * 4 + ["01:02:03"] * 3 + ["2024-03-14"] * 2
        self.assertEqual([",".join(columns), ",".join(fields), "," * 12], out.splitlines())

    def test_times_between_two_numbers_are_rounded_on_demand(self):
        table = pyarrow.table({"t": pyarrow.array([1_700_000_000_123_456_789], pyarrow.timestamp("ns"))})
        file = self.arrow_file(table)
        self.assertIn("without loss (--round-times rounds times)", self.refused(file))
        self.convert(file, "--round-times")
        whole = pyarrow.table({"t": pyarrow.array([0], pyarrow.timestamp("s"))})
        target = self.convert(self.arrow_file(whole, "whole.arrow"), name="t.quav")
        self.assertIn("--round-times", self.fails(1, "append", target, file))
        self.assertEqual("", self.out("append", target, file, "--round-times"))
        self.assertEqual(2, len(self.case_list(target)))
        self.assertIn("--round-times", self.fails(1, "concat", self.folder / "c.quav", file))
        self.out("concat", self.folder / "c.quav", file, "--round-times")

    def test_zone_is_a_warning(self):
        table = pyarrow.table({"t": pyarrow.array([0], pyarrow.timestamp("s", "Europe/Berlin"))})
        done = self.run_tool("convert", self.arrow_file(table), self.folder / "o.quav")
        self.assertEqual(0, done.returncode)
        self.assertIn("warning: the times of the column t in the zone Europe/Berlin are stored in UTC", done.stderr)

    def test_slices_keep_their_rows(self):
        table = pyarrow.table({"a": range(100), "t": [f"text {k}" for k in range(100)], "b": [k % 3 == 0 for k in range(100)]})
        table = table.append_column("d", table.column("t").dictionary_encode())
        part = table.slice(37, 20)
        wanted = [[k, f"text {k}", int(k % 3 == 0), f"text {k}"] for k in range(37, 57)]
        self.assertEqual(wanted, self.cases_of(part))
        self.assertEqual(wanted, self.cases_of(part, max_chunksize=7))

    def test_dictionaries_in_parts_are_joined(self):
        batches = [
            pyarrow.record_batch({"d": pyarrow.array(values).dictionary_encode(), "n": numbers})
            for values, numbers in (
                (["a", "b", "a"], pyarrow.array([1, 2, 1]).dictionary_encode()),
                (["a", "b", None, "c"], pyarrow.array([1, 2, None, 9]).dictionary_encode()),
                (["a", "b", "c", "dd", "c"], pyarrow.array([1, 2, 9, -4, 9]).dictionary_encode()),
            )
        ]
        path = self.folder / "delta.arrow"
        options = pyarrow.ipc.IpcWriteOptions(emit_dictionary_deltas=True)
        wanted = [[text or "", number] for batch in batches
                  for text, number in zip(batch.column(0).to_pylist(), batch.column(1).to_pylist())]
        for form in (pyarrow.ipc.new_file, pyarrow.ipc.new_stream):
            with pyarrow.OSFile(str(path), "wb") as file, form(file, batches[0].schema, options=options) as writer:
                for batch in batches:
                    writer.write_batch(batch)
            self.assertEqual(wanted, self.case_list(self.convert(path)))

    def test_stream_is_recognised_on_standard_input(self):
        table = pyarrow.table({"n": [1.5, 2.5], "t": ["a", "b"]})
        path = self.folder / "stream.arrow"
        with pyarrow.OSFile(str(path), "wb") as file, pyarrow.ipc.new_stream(file, table.schema) as writer:
            writer.write_table(table)
        out = self.folder / "out.quav"
        with open(path, "rb") as given:
            done = self.run_tool("convert", "-", out, "--no-sync", stdin=given)
        self.assertEqual((0, "", ""), (done.returncode, done.stdout, done.stderr))
        self.assertEqual("n,t\n1.5,a\n2.5,b\n", self.out("cat", out, "--format", "csv"))

    def test_dictionaries_of_a_stream_may_be_replaced(self):
        path = self.folder / "stream.arrow"
        batches = [pyarrow.record_batch({"d": pyarrow.array(values).dictionary_encode()}) for values in (["a", "b"], ["x"])]
        with pyarrow.OSFile(str(path), "wb") as file, pyarrow.ipc.new_stream(file, batches[0].schema) as writer:
            for batch in batches:
                writer.write_batch(batch)
        self.assertEqual([["a"], ["b"], ["x"]], self.case_list(self.convert(path)))
        whole = path.read_bytes()
        self.assertEqual([["a"], ["b"], ["x"]], self.case_list(self.convert(self.text_file(whole[:-8], "open.arrow"))))
        self.assertIn("the end of the file is missing", self.refused(self.text_file(whole[:-3], "cut.arrow")))

    def test_files_of_pandas_and_polars(self):
        import pandas
        import polars

        frame = pandas.DataFrame({"a": [1.5, None], "t": ["x", None], "c": pandas.Categorical(["u", "v"])})
        frame.to_feather(self.folder / "p.arrow", compression="uncompressed")
        self.assertEqual([[1.5, "x", "u"], [None, "", "v"]], self.case_list(self.convert(self.folder / "p.arrow")))
        polars.from_pandas(frame).write_ipc(self.folder / "q.arrow")
        self.assertEqual([[1.5, "x", "u"], [None, "", "v"]], self.case_list(self.convert(self.folder / "q.arrow")))
        self.convert(self.file(people()), "--labels", "--raw", name="l.arrow")
        self.assertEqual(self.read(self.folder / "l.arrow").num_rows, polars.read_ipc(self.folder / "l.arrow", use_pyarrow=False).height)

    def test_names_that_no_variable_can_have_are_mended_and_become_labels(self):
        file = self.convert(self.arrow_file(pyarrow.table({"Sepal Length": [1], "a": [2], "A": [3], "": [4]})))
        found = [(one["name"], one["label"]) for one in self.info(file)["variables"]]
        self.assertEqual([("SepalLength", "Sepal Length"), ("a", None), ("A_A", "A")], found[:3])
        more = self.arrow_file(pyarrow.table({"Sepal Length": [5], "a": [6], "A": [7], "": [8]}), "more.arrow")
        self.assertEqual("", self.out("append", file, more))
        self.assertEqual([[1, 2, 3, 4], [5, 6, 7, 8]], self.case_list(file))
        for first in "$#_.":
            odd = self.arrow_file(pyarrow.table({f"{first}id": [1]}))
            self.assertEqual([f"@{first}id"], [one["name"] for one in self.info(self.convert(odd))["variables"]])

    def test_dictionary_file_goes_before_the_metadata(self):
        tree = {"variables": [{"name": "a", "type": 0, "label": "mine"}]}
        file = self.convert(self.arrow_file(pyarrow.table({"a": [1], "b": ["x"]})), "--dictionary", self.dictionary(tree))
        self.assertEqual(["mine", None], [one["label"] for one in self.info(file)["variables"]])

    def test_other_forms_columns_rows_and_order(self):
        file = self.arrow_file(pyarrow.table({"a": [3, 1, 2], "b": ["x", "y", "zz"]}))
        self.convert(file, "--sort", "a:desc", "--rows", "1:", "--columns", "b", name="o.csv")
        self.assertEqual("b\nzz\ny\n", (self.folder / "o.csv").read_text())
        latin = self.convert(file, "--encoding", "windows-1252", "--compress", "zlib")
        self.assertEqual(("windows-1252", "zlib"), (self.info(latin)["encoding"].lower(), self.info(latin)["compression"]))
        again = self.written(file, "--columns", "b,a", name="again.arrow")
        self.assertEqual([["x", 3], ["y", 1], ["zz", 2]], self.rows_of(again))

    def test_cases_are_added(self):
        target = self.convert(self.csv_file("a,b\n1,xxxx\n"))
        one = self.arrow_file(pyarrow.table({"B": ["y"], "A": pyarrow.array([2], pyarrow.int8())}))
        for options in ([], ["--in-place"]):
            self.assertEqual("", self.out("append", target, one, *options))
        self.assertEqual([[1, "xxxx"], [2, "y"], [2, "y"]], self.case_list(target))
        before = target.read_bytes()
        for columns, text in (
            ({"a": [1]}, "no column for the variable b"),
            ({"a": [1], "b": ["x"], "c": [1]}, "column c is no variable"),
            ({"a": ["x"], "b": ["x"]}, "neither a label of the variable nor a number"),
            ({"a": [1], "b": ["12345"]}, "is too long"),
            ({"a": [2**53 + 1], "b": ["x"]}, "without loss"),
        ):
            bad = self.arrow_file(pyarrow.table(columns), "bad.arrow")
            self.assertIn(text, self.fails(1, "append", target, bad))
            self.assertEqual(before, target.read_bytes())
        self.assertIn("for CSV", self.fails(2, "append", target, one, "--delimiter", ";"))
        out = self.folder / "all.quav"
        self.out("concat", out, one, self.csv_file("b,a\nz,007\n", "two.csv"))
        self.assertEqual([["y", 2], ["z", 7]], self.case_list(out))

    def test_cases_are_added_to_a_file_in_another_encoding(self):
        tree = {"variables": [{"name": "a", "type": 0, "value_labels": [[1, "größer"]]}, {"name": "b", "type": 8}]}
        target = self.convert(self.csv_file("a,b\n2,x\n"), "--dictionary", self.dictionary(tree), "--encoding", "windows-1252")
        label = pyarrow.array(["größer", "5"])
        self.assertEqual("", self.out("append", target, self.arrow_file(pyarrow.table({"a": label, "b": ["äöüß", "y"]}))))
        self.assertEqual([[2, "x"], [1, "äöüß"], [5, "y"]], self.case_list(target))

    def test_standard_input(self):
        file = self.arrow_file(pyarrow.table({"a": [1, 2]}))
        for arguments in (["-"], ["-", "--from", "arrow"]):
            with open(file, "rb") as stdin:
                done = self.run_tool("convert", arguments[0], self.folder / "o.quav", *arguments[1:], stdin=stdin)
            self.assertEqual((0, ""), (done.returncode, done.stderr))
            done = subprocess.run(
                [tool_test.BINARY, "convert", arguments[0], self.folder / "o.quav", *arguments[1:]],
                input=file.read_bytes(), capture_output=True, timeout=tool_test.TIMEOUT, check=False,
            )
            self.assertEqual((0, b""), (done.returncode, done.stderr))
            self.assertEqual([[1], [2]], self.case_list(self.folder / "o.quav"))

    def test_empty_files(self):
        table = pyarrow.table({"a": pyarrow.array([], pyarrow.int32()), "d": pyarrow.array([], pyarrow.utf8()).dictionary_encode()})
        self.assertEqual([], self.cases_of(table))
        self.assertIn("no columns", self.refused(self.arrow_file(pyarrow.table({}))))
        self.assertIn("not an Arrow file", self.refused(self.text_file("", "empty.arrow")))
        self.assertIn("not an Arrow file", self.refused(self.text_file("a,b\n1,2\n", "csv.arrow")))
        self.assertIn("the end of the file is missing", self.refused(self.text_file("ARROW1", "start.arrow")))
        self.assertIn("error 1201", self.refused(self.folder / "none.arrow"))
        self.assertIn("regular file", self.refused(self.folder, "--from", "arrow"))

    def test_what_is_not_read_is_refused(self):
        table = pyarrow.table({"a": list(range(1000))})
        for codec in ("lz4", "zstd"):
            file = self.arrow_file(table, options=pyarrow.ipc.IpcWriteOptions(compression=codec))
            self.assertIn("compressed: write it without compression", self.refused(file))
        for column, name in (
            (pyarrow.array([[1]]), "List"),
            (pyarrow.array([{"x": 1}]), "Struct"),
            (pyarrow.array([b"x"]), "Binary"),
            (pyarrow.array([b"x"], pyarrow.binary(1)), "FixedSizeBinary"),
            (pyarrow.array([(1, 2, 3)], pyarrow.month_day_nano_interval()), "Interval"),
            (pyarrow.array([[(1, 2)]], pyarrow.map_(pyarrow.int8(), pyarrow.int8())), "Map"),
        ):
            line = self.refused(self.arrow_file(pyarrow.table({"a": [1], "bad": column})))
            self.assertIn(f"the column bad has the Arrow type {name}, which no variable can have: leave it out", line)
        schema = pyarrow.schema([pyarrow.field("a", pyarrow.int32())])
        big = pyarrow.table({"a": pyarrow.array([1], pyarrow.int32())}, schema=schema).schema
        self.assertEqual(schema, big)
        self.assertIn("not packed", self.refused(self.text_file(b"", "x.arrow.gz"), status=2))
        self.assertIn("for text", self.refused(self.arrow_file(table), "--input-encoding", "UTF-8", status=2))

    def test_nulls_without_a_type_are_limited(self):
        table = pyarrow.table({"n": pyarrow.nulls((1 << 24) + 1)})
        self.assertIn("nothing but nulls", self.refused(self.arrow_file(table)))

    def test_damaged_files_are_refused_or_read(self):
        seed = int.from_bytes(os.urandom(4), "little")
        print("damaged files from seed", seed)
        generator = random.Random(seed)
        count = 60 if IS_SANITIZED else 400
        table = pyarrow.table({
            "a": pyarrow.array([1, None, 3] * 5), "t": ["x", None, "longer text than twelve bytes"] * 5,
            "v": pyarrow.array(["x", None, "longer text than twelve bytes"] * 5, pyarrow.string_view()),
            "d": pyarrow.array(["p", "q", None] * 5).dictionary_encode(), "b": [True, None, False] * 5,
        })
        whole = self.arrow_file(table, max_chunksize=7).read_bytes()
        stream = io.BytesIO()
        with pyarrow.ipc.new_stream(stream, table.schema) as writer:
            writer.write_table(table, max_chunksize=7)
        out = self.folder / "out.quav"
        damaged = [form[: generator.randrange(len(form))] for form in (whole, stream.getvalue()) for _ in range(count // 4)]
        for _ in range(count):
            changed = bytearray(whole if generator.random() < 0.7 else stream.getvalue())
            for _ in range(generator.choice((1, 1, 2, 5))):
                place = generator.randrange(len(changed))
                changed[place] = generator.choice((0, 1, 0x7F, 0x80, 0xFF, changed[place] ^ 1 << generator.randrange(8)))
            damaged.append(bytes(changed))
        for number, data in enumerate(damaged):
            path = self.text_file(data, "damaged.arrow")
            done = self.run_tool("convert", path, out, "--no-sync", "--from", "arrow")
            self.assertIn(done.returncode, (0, 1), (seed, number, done.stderr))
            if done.returncode == 1:
                self.assertRegex(done.stderr, r"\Adatasrc: error[^\n]*\n\Z", (seed, number))
                self.assertFalse(out.exists())
            else:
                out.unlink()


def main():
    global SAMPLES, pyarrow
    packages = pathlib.Path("build/python/lib") / f"python{sys.version_info.major}.{sys.version_info.minor}" / "site-packages"
    sys.path.insert(1, str(pathlib.Path(__file__).resolve().parents[2] / packages))
    try:
        import pyarrow
        import pyarrow.ipc
    except ImportError:
        print("arrow_test: skipped, there is no pyarrow (scripts/setup_python.sh installs it into build/python)")
        return SKIPPED
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = convert_test.SAMPLES = pathlib.Path(sys.argv[2])
    return 0 if unittest.main(argv=sys.argv[:1] + sys.argv[3:], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
