"""The tables T1, T2 and T3 of the benchmarks (Tables.h) for Python, and three columns of each."""

import numpy
import pyarrow

THREE = {"T1": ["V3", "V20", "V44"], "T2": ["V3", "V10", "V17"], "T3": ["V3", "V22", "V26"]}


def small(random, rows):
    return random.integers(0, 100, rows).astype(float)


def fraction(random, rows):
    return random.integers(0, 1_000_000, rows) / 997.0 + 0.001


def mixed(random, rows):
    kind = random.integers(0, 100, rows)
    values = numpy.where(kind < 95, small(random, rows), fraction(random, rows))
    return pyarrow.array(values, mask=(kind >= 90) & (kind < 95))


def texts(random, rows, width):
    """Letters, at least half the width."""
    letters = random.integers(97, 123, (rows, width), dtype=numpy.uint8)
    sizes = random.integers(width // 2, width + 1, rows)
    offsets = numpy.concatenate([[0], numpy.cumsum(sizes)]).astype(numpy.int32)
    kept = letters[numpy.arange(width) < sizes[:, None]]
    return pyarrow.StringArray.from_buffers(rows, pyarrow.py_buffer(offsets), pyarrow.py_buffer(kept.tobytes()))


def tables():
    random = numpy.random.default_rng(1)
    named = lambda columns: pyarrow.table({f"V{k}": column for k, column in enumerate(columns)})  # noqa: E731
    yield "T1", named([mixed(random, 1_000_000) for _ in range(50)])
    yield "T2", named([pyarrow.array(fraction(random, 1_000_000)) for _ in range(20)])
    yield "T3", named([pyarrow.array(small(random, 500_000)) for _ in range(20)]
                      + [pyarrow.array(fraction(random, 500_000)) for _ in range(5)]
                      + [texts(random, 500_000, width) for width in (8, 24, 64, 8, 24)])
