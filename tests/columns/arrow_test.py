"""Imports the library's Arrow streams with an Arrow implementation of somebody else, through the C interface.

    arrow_test.py LIBRARY SAMPLES TOOL

Every good sample is compared with its expected dictionary and cases. The test uses the pyarrow that scripts/setup.sh
installs into build/python, or else the system's. Without one it is skipped: it says so and returns 77.
"""

import ctypes
import datetime
import decimal
import json
import math
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from c_library import Library

SKIPPED = 77
CHUNK_ROWS = 7  # small batches, so that samples have several
TYPED_DATES, LABELS, USER_MISSING_AS_NULL = 1, 2, 4
SYSTEM_MISSING_NAMES = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}


def expected_rows(path):
    """The rows of a file of JSON lines, with numbers as float."""
    for line in path.read_text(encoding="utf-8").splitlines():
        yield [float(value) if isinstance(value, int) else value for value in json.loads(line)]


def bits(value):
    """A value that equals another only if a file would hold the same."""
    return ("NaN",) if isinstance(value, float) and math.isnan(value) else (repr(value),)


class Samples(unittest.TestCase):
    def open(self, name, flags=0):
        file = library.open(samples / f"{name}.quav", flags)
        self.addCleanup(library.calls.datasrc_close, file)
        return file

    def good_samples(self):
        found = sorted(path.stem for path in samples.glob("*.quav"))
        self.assertGreater(len(found), 10)
        return found

    def cases_of(self, table):
        """The rows of a table of plain columns: nulls are None, as in JSON lines."""
        table.validate(full=True)
        return [list(row) for row in zip(*(column.to_pylist() for column in table.columns))]

    def assert_same_cases(self, wanted, found):
        self.assertEqual(len(wanted), len(found))
        for row, (one, other) in enumerate(zip(wanted, found)):
            self.assertEqual(len(one), len(other))
            for column, (left, right) in enumerate(zip(one, other)):
                left = SYSTEM_MISSING_NAMES.get(left, left) if isinstance(right, float) else left
                self.assertEqual(bits(left), bits(right), f"case {row}, column {column}")


class Streams(Samples):
    def test_every_sample_has_its_cases(self):
        for name in self.good_samples():
            with self.subTest(name):
                table = library.scan(self.open(name), rows_per_batch=CHUNK_ROWS).read_all()
                self.assert_same_cases(list(expected_rows(samples / f"{name}.jsonl")), self.cases_of(table))

    def test_every_sample_read_as_stored_has_the_same_cases(self):
        for name in self.good_samples():
            with self.subTest(name):
                table = library.scan(self.open(name, flags=1)).read_all()
                self.assert_same_cases(list(expected_rows(samples / f"{name}.jsonl")), self.cases_of(table))

    def test_the_metadata_are_the_dictionary(self):
        for name in self.good_samples():
            with self.subTest(name):
                wanted = json.loads((samples / f"{name}.json").read_text(encoding="utf-8"))
                file = self.open(name)
                self.assertEqual(wanted, library.dictionary(file))
                schema = library.scan(file).schema
                found = json.loads(schema.metadata[b"datasrc.file"])
                found["variables"] = [json.loads(field.metadata[b"datasrc.variable"]) for field in schema]
                self.assertEqual(wanted, found)
                self.assertEqual([variable["name"] for variable in wanted["variables"]], schema.names)

    def test_columns_and_rows_are_chosen(self):
        file = self.open("penguins")
        names = library.scan(file).schema.names
        wanted = [[row[2], row[0]] for row in expected_rows(samples / "penguins.jsonl")][3:20]
        columns = (ctypes.c_char_p * 2)(names[2].encode(), names[0].upper().encode())
        reader = library.scan(file, columns=columns, column_count=2, first_row=3, row_count=17, rows_per_batch=5)
        table = reader.read_all()
        self.assertEqual([names[2], names[0]], table.schema.names)
        self.assertEqual([5, 5, 5, 2], [len(batch) for batch in table.to_batches()])
        self.assert_same_cases(wanted, self.cases_of(table))

    def test_labels_are_dictionaries(self):
        for name in self.good_samples():
            with self.subTest(name):
                file = self.open(name)
                variables = library.dictionary(file)["variables"]
                table = library.scan(file, flags=LABELS, rows_per_batch=CHUNK_ROWS).read_all()
                table.validate(full=True)
                plain = library.scan(file).read_all()
                for column, variable in enumerate(variables):
                    if not variable["value_labels"]:
                        continue
                    self.assertTrue(pyarrow.types.is_dictionary(table.schema.types[column]), variable["name"])
                    labels = {bits(float(v) if variable["type"] == 0 and v is not None else v): label
                              for v, label in variable["value_labels"]}
                    pairs = zip(plain.column(column).to_pylist(), table.column(column).to_pylist())
                    for value, label in pairs:
                        if value is None:
                            self.assertIsNone(label)
                        elif bits(value) in labels:
                            self.assertEqual(labels[bits(value)], label)
                        elif isinstance(value, str):
                            self.assertEqual(value, label)
                        else:
                            self.assertEqual(bits(value), bits(float(label)))

    def test_typed_dates_are_those_of_python(self):
        rows = [
            ["1582-10-14", "1582-10-14T00:00:00", "00:00:00"],
            ["1969-12-31", "1969-12-31T23:59:59.5", "23:59:59"],
            ["1970-01-01", "1970-01-01T00:00:00", "00:00:00.000001"],
            ["2024-02-29", "2024-02-29T12:34:56.789", "12:34:56.789012"],
            ["9999-12-31", "9999-12-31T23:59:59", "P9DT1H0M0.25S"],
            ["", "", ""],
        ]
        table = self.scan_csv("DAY,MOMENT,TIME", rows, flags=TYPED_DATES)
        self.assertEqual([pyarrow.date32(), pyarrow.timestamp("us"), pyarrow.duration("us")], table.schema.types)
        days, moments, times = (column.to_pylist() for column in table.columns)
        self.assertEqual([row[0] and datetime.date.fromisoformat(row[0]) or None for row in rows], days)
        wanted = [datetime.datetime.fromisoformat(row[1]) if row[1] else None for row in rows]
        # A double of a day in 2024 has steps of two microseconds.
        for one, other in zip(wanted, moments):
            self.assertEqual(one is None, other is None)
            self.assertLessEqual(abs(one - other) if one else datetime.timedelta(), datetime.timedelta(microseconds=1))
        second = datetime.timedelta(seconds=1)
        durations = [0, 86399, 1e-6, 45296.789012, 781200.25]
        self.assertEqual([seconds * second for seconds in durations] + [None], times)

    def test_a_value_that_is_no_date_ends_the_stream(self):
        name = "numbers"
        column = (ctypes.c_char_p * 1)(b"n4")
        reader = library.scan(self.open(name), columns=column, column_count=1, flags=TYPED_DATES)
        for _ in range(2):
            with self.assertRaisesRegex(pyarrow.ArrowInvalid, "the value 1.3e[+]10 of the variable n4 in case 0 .*loss"):
                reader.read_next_batch()

    def scan_csv(self, header, rows, **options):
        """The cases of a system file that the tool makes of CSV."""
        with tempfile.TemporaryDirectory() as folder:
            text, made = Path(folder, "cases.csv"), Path(folder, "cases.quav")
            text.write_text("\n".join([header] + [",".join(row) for row in rows]) + "\n", encoding="utf-8")
            subprocess.run([tool, "convert", text, made], check=True)
            file = library.open(made)
            self.addCleanup(library.calls.datasrc_close, file)
            return library.scan(file, **options).read_all()

    def test_a_stream_may_be_released_early(self):
        for batches in range(3):
            reader = library.scan(self.open("penguins"), rows_per_batch=CHUNK_ROWS)
            kept = [reader.read_next_batch() for _ in range(batches)]
            del reader
            for batch in kept:
                batch.validate(full=True)

    def test_a_table_outlives_its_file_and_stream(self):
        file = library.open(samples / "penguins.quav")
        reader = library.scan(file)
        library.calls.datasrc_close(file)
        table = reader.read_all()
        del reader
        self.assert_same_cases(list(expected_rows(samples / "penguins.jsonl")), self.cases_of(table))

    def test_without_columns_the_rows_are_counted(self):
        none = (ctypes.c_char_p * 1)()
        reader = library.scan(self.open("penguins"), columns=none, column_count=0)
        self.assertEqual(344, sum(len(batch) for batch in reader))


# Facts of a file that are not those of its data set: a new file has others.
OF_THE_FILE = ("byte_order", "compression", "encoding", "encrypted", "extensions_found", "eye_catcher", "release",
               "timestamp")


class Files(Samples):
    """System files that are made of Arrow streams."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = Path(folder.name, "made.quav")

    def made(self):
        file = library.open(self.path)
        self.addCleanup(library.calls.datasrc_close, file)
        return file

    def described(self, file):
        facts = library.dictionary(file)
        return {name: value for name, value in facts.items() if name not in OF_THE_FILE}

    def test_every_sample_comes_back(self):
        for name in self.good_samples():
            for flags in (0, TYPED_DATES, LABELS):
                with self.subTest(name, flags=flags):
                    file = self.open(name)
                    try:
                        table = library.scan(file, rows_per_batch=CHUNK_ROWS, flags=flags).read_all()
                    except pyarrow.ArrowInvalid:
                        self.assertEqual(TYPED_DATES, flags)  # a value that is no date
                        continue
                    library.write(table, self.path)
                    made = self.made()
                    self.assertEqual(self.described(file), self.described(made))
                    self.assert_same_cases(self.cases_of(library.scan(file).read_all()),
                                           self.cases_of(library.scan(made).read_all()))

    def written(self, **columns):
        """The column of a file that was written with these columns, as Python values."""
        library.write(pyarrow.table(columns), self.path)
        return library.scan(self.made()).read_all()

    def test_numbers_of_every_type_are_numbers(self):
        types = [pyarrow.int8(), pyarrow.uint8(), pyarrow.int16(), pyarrow.uint16(), pyarrow.int32(), pyarrow.uint32(),
                 pyarrow.int64(), pyarrow.uint64(), pyarrow.float32(), pyarrow.float64(),
                 pyarrow.decimal128(9, 0), pyarrow.decimal256(40, 0)]
        columns = {f"v{i}": pyarrow.array([1, None, 100, 0], type) for i, type in enumerate(types)}
        columns["half"] = pyarrow.array([1, None, 100, 0], pyarrow.float32()).cast(pyarrow.float16())
        for column in self.written(**columns).columns:
            self.assertEqual([1.0, None, 100.0, 0.0], column.to_pylist())

    def test_extremes_of_integers_come_back(self):
        extremes = [2**53, -2**53, -2**63, 2**62]
        table = self.written(a=pyarrow.array(extremes, pyarrow.int64()),
                             b=pyarrow.array([0, 2**63, 1, 2], pyarrow.uint64()))
        self.assertEqual([float(value) for value in extremes], table.column(0).to_pylist())
        self.assertEqual(float(2**63), table.column(1)[1].as_py())

    def test_truth_and_nothing(self):
        table = self.written(a=pyarrow.array([True, None, False]), b=pyarrow.nulls(3))
        self.assertEqual([1.0, None, 0.0], table.column(0).to_pylist())
        self.assertEqual([None] * 3, table.column(1).to_pylist())

    def test_texts_of_every_layout(self):
        wanted = ["short", "", "a text of more than twelve bytes", "\u00e4\u20ac"]
        given = wanted[:1] + [None] + wanted[2:]
        layouts = [pyarrow.string(), pyarrow.large_string(), pyarrow.string_view(),
                   pyarrow.dictionary(pyarrow.int8(), pyarrow.string())]
        columns = {f"v{i}": pyarrow.array(given, layout) for i, layout in enumerate(layouts)}
        for column in self.written(**columns).columns:
            self.assertEqual(wanted, column.to_pylist())

    def test_slices(self):
        table = pyarrow.table({"a": pyarrow.array([None if i % 3 == 0 else i for i in range(100)], pyarrow.int16()),
                               "b": [None if i % 7 == 0 else "x" * i for i in range(100)],
                               "c": pyarrow.array([i % 2 == 0 for i in range(100)])}).slice(13, 50)
        library.write(table, self.path)
        found = library.scan(self.made()).read_all()
        numbers = [None if i is None else float(i) for i in table.column(0).to_pylist()]
        self.assertEqual(numbers, found.column(0).to_pylist())
        self.assertEqual([text or "" for text in table.column(1).to_pylist()], found.column(1).to_pylist())
        self.assertEqual([float(flag) for flag in table.column(2).to_pylist()], found.column(2).to_pylist())

    def test_dates_and_times(self):
        day, moment = datetime.date(2024, 2, 29), datetime.datetime(2024, 2, 29, 12, 34, 56, 500000)
        span = datetime.timedelta(days=3, seconds=7, milliseconds=250)
        columns = {"d32": pyarrow.array([day], pyarrow.date32()), "d64": pyarrow.array([day], pyarrow.date64())}
        for unit in ("s", "ms", "us", "ns"):
            exact = moment.replace(microsecond=0) if unit == "s" else moment
            columns[f"t_{unit}"] = pyarrow.array([exact], pyarrow.timestamp(unit))
            length = datetime.timedelta(days=3) if unit == "s" else span
            columns[f"s_{unit}"] = pyarrow.array([length], pyarrow.duration(unit))
        columns["hour"] = pyarrow.array([datetime.time(12, 34, 56)], pyarrow.time32("s"))
        library.write(pyarrow.table(columns), self.path)
        found = library.scan(self.made(), flags=TYPED_DATES).read_all().to_pylist()[0]
        self.assertEqual([day, day], [found["d32"], found["d64"]])
        for unit in ("s", "ms", "us", "ns"):
            self.assertEqual(moment.replace(microsecond=0) if unit == "s" else moment, found[f"t_{unit}"])
            self.assertEqual(datetime.timedelta(days=3) if unit == "s" else span, found[f"s_{unit}"])
        self.assertEqual(datetime.timedelta(hours=12, minutes=34, seconds=56), found["hour"])

    def test_a_zone_is_converted_to_utc_and_named(self):
        zone = datetime.timezone(datetime.timedelta(hours=2))
        moment = datetime.datetime(2024, 5, 1, 12, tzinfo=zone)
        table = pyarrow.table({"when": pyarrow.array([moment], pyarrow.timestamp("s", "Europe/Berlin"))})
        self.assertEqual(["the times of the column when in the zone Europe/Berlin are stored in UTC"],
                         library.write(table, self.path))
        found = library.scan(self.made(), flags=TYPED_DATES).read_all()
        self.assertEqual(datetime.datetime(2024, 5, 1, 10), found.column(0)[0].as_py())

    def refused(self, column, text, **options):
        with self.assertRaisesRegex(OSError, text):
            library.write(pyarrow.table({"v": column}), self.path, **options)
        self.assertEqual([], list(self.path.parent.iterdir()))

    def test_values_that_would_change_are_refused(self):
        far = CHUNK_ROWS + 2
        ones = [1] * far
        self.refused(pyarrow.array(ones + [2**53 + 1]), f'"9007199254740993" of the column v in row {far} ')
        self.refused(pyarrow.array([-2**53 - 1]), "row 0 ")
        self.refused(pyarrow.array([2**64 - 1], pyarrow.uint64()), "row 0 ")
        self.refused(pyarrow.array(["a", "b" * 32768]), "column v in row 1 has more than 32767 bytes")
        self.refused(pyarrow.array([-sys.float_info.max]), "stands for a missing value")
        self.refused(pyarrow.array([10**9, 2**63 - 1], pyarrow.timestamp("ns")), "row 1 ")
        self.refused(pyarrow.array([None, decimal.Decimal("12345678901234567890.1")]), 'row 1 ')

    def test_types_that_no_variable_has_are_refused(self):
        for column in (pyarrow.array([[1]]), pyarrow.array([{"a": 1}]), pyarrow.array([b"x"])):
            self.refused(column, "column v has the Arrow type")

    def test_names_that_no_variable_has_are_refused(self):
        for name in ("", "a b", "x" * 65):
            with self.assertRaisesRegex(OSError, "has a name that no variable can have"):
                library.write(pyarrow.table({name: [1]}), self.path)

    def test_equal_names_are_refused(self):
        table = pyarrow.Table.from_arrays([pyarrow.array([1]), pyarrow.array([2])], names=["a", "A"])
        with self.assertRaisesRegex(OSError, '"A" has the name of an earlier column'):
            library.write(table, self.path)

    def test_the_widest_text_fits(self):
        texts = ["x" * 32767, "y"]
        self.assertEqual(texts, self.written(v=texts).column(0).to_pylist())

    def test_a_width_of_the_dictionary_holds(self):
        wish = {"variables": [{"name": "v", "type": 4}]}
        library.write(pyarrow.table({"v": ["abc", "abcd  "]}), self.path, wish)
        self.assertEqual(4, library.dictionary(self.made())["variables"][0]["type"])
        self.path.unlink()
        self.refused(pyarrow.array(["abcd", "abcde"]), '"abcde" of the column v in row 1 is too long',
                     dictionary=wish)

    def test_wishes_go_before_metadata(self):
        table = library.scan(self.open("penguins")).read_all()
        before = library.dictionary(self.open("penguins"))["variables"][0]
        library.write(table, self.path, {"label": "Birds", "variables": [{"name": "SPECIES", "label": "Kind"}]})
        after = library.dictionary(self.made())
        self.assertEqual("Birds", after["label"])
        self.assertEqual({**before, "label": "Kind"}, after["variables"][0])

    def test_a_wish_for_no_column_is_refused(self):
        self.refused(pyarrow.array([1]), "variables.0. is w, which is no column",
                     dictionary={"variables": [{"name": "w"}]})

    def test_some_columns_of_a_file_keep_what_is_theirs(self):
        for name in self.good_samples():
            with self.subTest(name):
                file = self.open(name)
                table = library.scan(file).read_all()
                if len(table.schema.names) < 2:
                    continue
                chosen = table.select(table.schema.names[1::2])
                library.write(chosen, self.path)
                made = library.dictionary(self.made())
                self.assertEqual(library.dictionary(file)["variables"][1::2], made["variables"])

    def test_a_column_of_another_type_keeps_its_label(self):
        table = library.scan(self.open("penguins")).read_all()
        field = table.schema.field(0)
        texts = pyarrow.array(["x"] * len(table))
        numbers = pyarrow.array([1] * len(table))
        changed = table.set_column(1, table.schema.field(1).with_type(pyarrow.int64()), numbers)
        library.write(changed, self.path)
        made = library.dictionary(self.made())["variables"][1]
        self.assertEqual((0, "Island", None), (made["type"], made["label"], made["value_labels"]))
        # Texts in the place of numbers with labels have to be labels.
        with self.assertRaisesRegex(OSError, '"x" of the column species in row 0 is neither a label'):
            library.write(table.set_column(0, field.with_type(pyarrow.string()), texts), self.path)

    def test_an_old_file_stays_after_a_failure(self):
        self.path.write_bytes(b"old")
        with self.assertRaises(OSError):
            library.write(pyarrow.table({"v": [2**53 + 1]}), self.path)
        self.assertEqual(b"old", self.path.read_bytes())

    def test_a_failing_stream_is_reported(self):
        def batches():
            yield pyarrow.record_batch({"v": [1]})
            raise ValueError("no more of this")
        reader = pyarrow.RecordBatchReader.from_batches(pyarrow.schema([("v", pyarrow.int64())]), batches())
        with self.assertRaisesRegex(OSError, "the stream failed: .*no more of this"):
            library.write(reader, self.path)

    def test_a_stream_may_open_files(self):
        def batches():
            for _ in range(3):
                yield from library.scan(self.open("penguins")).read_all().to_batches()
        schema = library.scan(self.open("penguins")).schema
        library.write(pyarrow.RecordBatchReader.from_batches(schema, batches()), self.path)
        self.assertEqual(3 * 344, len(library.scan(self.made()).read_all()))

    def test_every_compression(self):
        for compression, name in enumerate(("none", "bytecode", "zlib")):
            library.write(pyarrow.table({"v": [1.5], "t": ["x"]}), self.path, compression=compression)
            made = self.made()
            self.assertEqual(name, library.dictionary(made)["compression"])
            self.assertEqual([{"v": 1.5, "t": "x"}], library.scan(made).read_all().to_pylist())

    def test_appending_every_sample_to_itself(self):
        for name in self.good_samples():
            with self.subTest(name):
                self.path.write_bytes((samples / f"{name}.quav").read_bytes())
                file = self.open(name)
                if library.dictionary(file)["byte_order"] != "native":
                    continue
                table = library.scan(file, rows_per_batch=CHUNK_ROWS).read_all()
                names = table.schema.names
                library.append(table.select(names[::-1]), self.path)
                rows = list(expected_rows(samples / f"{name}.jsonl"))
                self.assert_same_cases(rows + rows, self.cases_of(library.scan(self.made()).read_all()))

    def test_a_row_that_does_not_fit_appends_nothing(self):
        library.write(pyarrow.table({"v": [1, 2], "t": ["abc", "d"]}), self.path)
        before = self.path.read_bytes()
        for rows, text in (({"v": [1] * 9, "t": ["x"] * 8 + ["abcd"]}, '"abcd" of the column t in row 8 is too long'),
                           ({"v": [1]}, "no column for the variable t"),
                           ({"v": [1], "t": ["x"], "w": [1]}, "column w is no variable of the file"),
                           ({"w": [1], "V": [1], "v": [1], "x": [1]},
                            "the column w is no variable of the file; the column v comes twice; "
                            "the column x is no variable of the file; there is no column for the variable t"),
                           ({"v": ["x"], "t": ["x"]}, "neither a label of the variable nor a number"),
                           ({"v": [1], "t": [1]}, "has numbers, but the variable is a text")):
            with self.assertRaisesRegex(OSError, text):
                library.append(pyarrow.table(rows), self.path)
            self.assertEqual(before, self.path.read_bytes())
        library.append(pyarrow.table({"T": ["x"], "V": [None]}), self.path)
        self.assertEqual([[1.0, "abc"], [2.0, "d"], [None, "x"]], self.cases_of(library.scan(self.made()).read_all()))


def main():
    global library, samples, tool, pyarrow
    packages = Path("build/python/lib") / f"python{sys.version_info.major}.{sys.version_info.minor}" / "site-packages"
    sys.path.insert(1, str(Path(__file__).resolve().parents[2] / packages))
    try:
        import pyarrow
    except ImportError:
        print("arrow_test: skipped, there is no pyarrow (scripts/setup.sh installs it into build/python)")
        return SKIPPED
    library = Library(sys.argv[1], CHUNK_ROWS)
    samples = Path(sys.argv[2])
    tool = sys.argv[3]
    return 0 if unittest.main(argv=sys.argv[:1], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
