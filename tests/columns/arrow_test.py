"""Imports the library's Arrow streams with an Arrow implementation of somebody else, through the C interface.

    arrow_test.py LIBRARY SAMPLES TOOL

Every good sample is compared with its expected dictionary and cases. The test uses the pyarrow that scripts/setup.sh
installs into build/python, or else the system's. Without one it is skipped: it says so and returns 77.
"""

import ctypes
import datetime
import json
import math
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SKIPPED = 77
CHUNK_ROWS = 7  # small batches, so that samples have several
TYPED_DATES, LABELS, USER_MISSING_AS_NULL = 1, 2, 4
SYSTEM_MISSING_NAMES = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}


class ScanOptions(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("columns", ctypes.POINTER(ctypes.c_char_p)),
        ("column_count", ctypes.c_size_t),
        ("first_row", ctypes.c_int64),
        ("row_count", ctypes.c_int64),
        ("rows_per_batch", ctypes.c_int32),
        ("flags", ctypes.c_uint32),
    ]

    def __init__(self, **fields):
        super().__init__(**{"size": ctypes.sizeof(ScanOptions), "row_count": -1, **fields})


class ArrayStream(ctypes.Structure):
    _fields_ = [(name, ctypes.c_void_p) for name in ("get_schema", "get_next", "get_last_error", "release", "private")]


class Library:
    """The C interface; a failure is an OSError."""

    def __init__(self, path):
        self.calls = ctypes.CDLL(path)
        self.calls.datasrc_error_text.restype = ctypes.c_char_p
        self.calls.datasrc_free.argtypes = [ctypes.c_void_p]
        self.calls.datasrc_close.argtypes = [ctypes.c_void_p]
        self.calls.datasrc_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint32, ctypes.c_void_p]
        self.calls.datasrc_dictionary.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
        self.calls.datasrc_scan.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p]

    def check(self, result):
        if result != 0:
            raise OSError(self.calls.datasrc_error_number(), self.calls.datasrc_error_text().decode())

    def open(self, path, flags=0):
        file = ctypes.c_void_p()
        self.check(self.calls.datasrc_open(str(path).encode(), None, flags, ctypes.byref(file)))
        return file

    def dictionary(self, file):
        text = ctypes.c_void_p()
        self.check(self.calls.datasrc_dictionary(file, ctypes.byref(text)))
        try:
            return json.loads(ctypes.string_at(text))
        finally:
            self.calls.datasrc_free(text)

    def scan(self, file, **options):
        """A pyarrow reader of the file's cases."""
        stream = ArrayStream()
        self.check(self.calls.datasrc_scan(file, ctypes.byref(ScanOptions(**options)), ctypes.byref(stream)))
        return pyarrow.RecordBatchReader._import_from_c(ctypes.addressof(stream))


def expected_rows(path):
    """The rows of a file of JSON lines, with numbers as float."""
    for line in path.read_text(encoding="utf-8").splitlines():
        yield [float(value) if isinstance(value, int) else value for value in json.loads(line)]


def bits(value):
    """A value that equals another only if a file would hold the same."""
    return ("NaN",) if isinstance(value, float) and math.isnan(value) else (repr(value),)


class Streams(unittest.TestCase):
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


def main():
    global library, samples, tool, pyarrow
    packages = Path("build/python/lib") / f"python{sys.version_info.major}.{sys.version_info.minor}" / "site-packages"
    sys.path.insert(1, str(Path(__file__).resolve().parents[2] / packages))
    try:
        import pyarrow
    except ImportError:
        print("arrow_test: skipped, there is no pyarrow (scripts/setup.sh installs it into build/python)")
        return SKIPPED
    library = Library(sys.argv[1])
    samples = Path(sys.argv[2])
    tool = sys.argv[3]
    return 0 if unittest.main(argv=sys.argv[:1], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
