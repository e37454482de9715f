"""Builds the bytes of system files, field by field. It shares no code with the library."""

import struct
import sys

NUMBER = 5
STRING = 1
HEADER_SIZE = 176
SYSTEM_MISSING = -sys.float_info.max


def format_word(kind, width, decimals=0):
    return kind << 16 | width << 8 | decimals


def as_bytes(text):
    """Text that is not UTF-8 comes as bytes."""
    return text if isinstance(text, bytes) else text.encode()


class SystemFile:
    """A plain file in this machine's byte order. The records are in the order of the calls; the cases come last."""

    def __init__(self, label="", cases=None, date=b"14 Mar 24"):
        self._types = []
        self._records = []
        self._rows = []
        self._label = as_bytes(label)
        self._cases = cases
        self._date = date

    def variable(self, name, width=0, label=None, missing=(), missing_code=None, print_format=None):
        """Adds a variable. `missing` has numbers or bytes; the code is their count unless it is given."""
        code = len(missing) if missing_code is None else missing_code
        word = print_format or (format_word(STRING, width) if width else format_word(NUMBER, 8, 2))
        record = struct.pack("=6i", 2, width, label is not None, code, word, word) + as_bytes(name).ljust(8)
        if label is not None:
            text = as_bytes(label)
            record += struct.pack("=i", len(text)) + text.ljust((len(text) + 3) // 4 * 4)
        for value in missing:
            record += self._cell(value)
        self._records.append(record)
        self._records += [struct.pack("=6i8s", 2, -1, 0, 0, 0, 0, b" " * 8)] * (self._cells(width) - 1)
        self._types.append(width)
        return self

    def value_labels(self, pairs, slots):
        record = struct.pack("=2i", 3, len(pairs))
        for value, label in pairs:
            text = as_bytes(label)
            size = (len(text) + 8) // 8 * 8 - 1
            record += self._cell(value) + bytes([len(text)]) + text.ljust(size)
        self._records.append(record + struct.pack(f"=2i{len(slots)}i", 4, len(slots), *slots))
        return self

    def documents(self, *lines):
        """Adds the lines of all documents. Each begins its own 80 bytes."""
        self._records.append(struct.pack("=2i", 6, len(lines)) + b"".join(as_bytes(line).ljust(80) for line in lines))
        return self

    def code_page(self, number):
        """Adds the record that states the encoding of the text."""
        return self.extension(3, 4, 8, struct.pack("=8i", 25, 0, 1, 720, 1, 1, 2, number))

    def extension(self, subtype, unit_size, count, contents=b""):
        self._records.append(struct.pack("=4i", 7, subtype, unit_size, count) + contents)
        return self

    def case(self, *values):
        """Adds a case: for each variable a number, None or bytes."""
        row = b""
        for width, value in zip(self._types, values, strict=True):
            if width:
                row += value.ljust(self._cells(width) * 8)
            else:
                row += self._cell(SYSTEM_MISSING if value is None else value)
        self._rows.append(row)
        return self

    def bytes(self):
        cells = sum(map(self._cells, self._types))
        cases = len(self._rows) if self._cases is None else self._cases
        header = b"$FL2" + b"@(#) made by a test".ljust(60)
        header += struct.pack("=5id", 2, cells, 0, 0, cases, 100.0)
        header += self._date + b"10:20:30" + self._label.ljust(64) + bytes(3)
        assert len(header) == HEADER_SIZE
        return header + b"".join(self._records) + struct.pack("=2i", 999, 0) + b"".join(self._rows)

    @staticmethod
    def _cells(width):
        return max((width + 7) // 8, 1)

    @staticmethod
    def _cell(value):
        return value.ljust(8)[:8] if isinstance(value, bytes) else struct.pack("=d", value)


def late_variable():
    """A file whose only variable comes after another record."""
    return SystemFile().extension(16, 8, 2, struct.pack("=2q", 1, 1)).variable("A").case(1)
