"""The C interface of the library (datasrc/c_api.h) for Python, with pyarrow at the other end of its streams."""

import ctypes
import json


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


class WriteOptions(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("dictionary", ctypes.c_char_p),
        ("password", ctypes.c_char_p),
        ("compression", ctypes.c_int32),
        ("flags", ctypes.c_uint32),
    ]

    def __init__(self, **fields):
        super().__init__(**{"size": ctypes.sizeof(WriteOptions), "compression": 1, **fields})


class ArrayStream(ctypes.Structure):
    _fields_ = [(name, ctypes.c_void_p) for name in ("get_schema", "get_next", "get_last_error", "release", "private")]


class Library:
    """The C interface; a failure is an OSError."""

    def __init__(self, path, chunk_rows=None):
        self.chunk_rows = chunk_rows  # of the batches of tables that are written
        self.calls = ctypes.CDLL(path)
        self.calls.datasrc_error_text.restype = ctypes.c_char_p
        self.calls.datasrc_free.argtypes = [ctypes.c_void_p]
        self.calls.datasrc_close.argtypes = [ctypes.c_void_p]
        self.calls.datasrc_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint32, ctypes.c_void_p]
        self.calls.datasrc_dictionary.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
        self.calls.datasrc_scan.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p]
        self.calls.datasrc_write.argtypes = [ctypes.c_void_p, ctypes.c_char_p] + 3 * [ctypes.c_void_p]
        self.calls.datasrc_append.argtypes = (
            [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_uint32] + 2 * [ctypes.c_void_p])

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
        import pyarrow  # only here: a test without it is skipped

        return pyarrow.RecordBatchReader._import_from_c(ctypes.addressof(stream))

    def write(self, table, path, dictionary=None, **options):
        """Writes a pyarrow table. Returns the notes."""
        options["dictionary"] = json.dumps(dictionary).encode() if dictionary is not None else None
        return self.take(table, lambda stream, rows, notes: self.calls.datasrc_write(
            stream, str(path).encode(), ctypes.byref(WriteOptions(**options)), rows, notes))

    def append(self, table, path, flags=0):
        return self.take(table, lambda stream, rows, notes: self.calls.datasrc_append(
            stream, str(path).encode(), None, flags, rows, notes))

    def take(self, table, work):
        stream = ArrayStream()
        reader = table.to_reader(max_chunksize=self.chunk_rows) if hasattr(table, "to_reader") else table
        reader._export_to_c(ctypes.addressof(stream))
        rows, notes = ctypes.c_int64(), ctypes.c_void_p()
        self.check(work(ctypes.byref(stream), ctypes.byref(rows), ctypes.byref(notes)))
        assert not stream.release
        try:
            if reader is not table:
                assert rows.value == len(table)
            return ctypes.string_at(notes).decode().splitlines()
        finally:
            self.calls.datasrc_free(notes)
