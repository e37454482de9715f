"""Runs `datasrc` on Arrow files, and compares them with what another implementation reads and writes.

    arrow_test.py BINARY SAMPLES

The test uses the pyarrow that scripts/setup.sh installs into build/python, or else the system's. Without one it is
skipped: it says so and returns 77.
"""

import datetime
import json
import math
import pathlib
import sys
import unittest

import convert_test
import tool_test
from convert_test import ConvertTest
from system_file import SystemFile
from tool_test import DATE, DATE_TIME, MARCH_14, TIME, good_samples, people

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
        self.assertIn("1 cases added", self.out("concat", out, one, two))
        self.assertEqual([[1, "x"], [2, "yy"]], self.rows_of(self.read(out)))

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


def main():
    global SAMPLES, pyarrow
    packages = pathlib.Path("build/python/lib") / f"python{sys.version_info.major}.{sys.version_info.minor}" / "site-packages"
    sys.path.insert(1, str(pathlib.Path(__file__).resolve().parents[2] / packages))
    try:
        import pyarrow
        import pyarrow.ipc
    except ImportError:
        print("arrow_test: skipped, there is no pyarrow (scripts/setup.sh installs it into build/python)")
        return SKIPPED
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = convert_test.SAMPLES = pathlib.Path(sys.argv[2])
    return 0 if unittest.main(argv=sys.argv[:1] + sys.argv[3:], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
