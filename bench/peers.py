"""Times the library beside other ways to keep the same tables: Parquet and Feather by pyarrow, and DuckDB's own format.

    peers.py LIBRARY [FOLDER]

needs pyarrow, numpy and duckdb. It makes the tables T1, T2 and T3 of the other benchmarks in FOLDER (by default one in
/tmp, which is deleted), reads each into an Arrow table, and prints the least of several times in ms: all columns and
three columns, on one thread. The files are in the system's cache.
"""

import ctypes
import sys
import tempfile
import time
from pathlib import Path

import duckdb
import pyarrow
import pyarrow.feather
import pyarrow.parquet

sys.path.insert(1, str(Path(__file__).resolve().parents[1] / "tests" / "columns"))
from c_library import Library  # noqa: E402
from peer_tables import THREE, tables  # noqa: E402

ROUNDS = 7


class Peer:
    """A way to keep a table. `read` returns an Arrow table, of all columns if none are named."""

    def __init__(self, folder, name):
        self.path = str(Path(folder, f"{name}.{self.suffix}"))


class SystemFile(Peer):
    suffix = "quav"
    compression = 1

    def write(self, table):
        library.write(table, self.path, compression=self.compression, flags=2)
        self.file = library.open(self.path)

    def read(self, columns):
        options = {}
        if columns:
            options = {"columns": (ctypes.c_char_p * len(columns))(*(name.encode() for name in columns)),
                       "column_count": len(columns)}
        return library.scan(self.file, **options).read_all()


class ZlibFile(SystemFile):
    suffix = "zquav"
    compression = 2


class Parquet(Peer):
    suffix = "parquet"

    def write(self, table):
        pyarrow.parquet.write_table(table, self.path)

    def read(self, columns):
        return pyarrow.parquet.read_table(self.path, columns=columns, use_threads=False, memory_map=True)


class Feather(Peer):
    suffix = "feather"

    def write(self, table):
        pyarrow.feather.write_feather(table, self.path)

    def read(self, columns):
        return pyarrow.feather.read_table(self.path, columns=columns, use_threads=False)


class DuckDb(Peer):
    suffix = "duckdb"

    def write(self, table):
        self.connection = duckdb.connect(self.path, config={"threads": 1})
        self.connection.register("given", table)
        self.connection.execute("create table kept as select * from given")
        self.connection.execute("checkpoint")

    def read(self, columns):
        return self.connection.sql(f"select {', '.join(columns or ['*'])} from kept").to_arrow_table()


def least_time(work):
    times = []
    for _ in range(ROUNDS):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return 1000 * min(times)


def main(folder):
    pyarrow.set_cpu_count(1)
    pyarrow.set_io_thread_count(1)
    print(f"{'table':6} {'format':10} {'write':>8} {'MB':>7} {'all':>8} {'three':>8}")
    for name, table in tables():
        for kind in (SystemFile, ZlibFile, Parquet, Feather, DuckDb):
            peer = kind(folder, name)
            start = time.perf_counter()
            peer.write(table)
            written = 1000 * (time.perf_counter() - start)
            size = Path(peer.path).stat().st_size / 1e6
            assert len(peer.read(None)) == len(table) and peer.read(THREE[name]).schema.names == THREE[name]
            every, three = least_time(lambda: peer.read(None)), least_time(lambda: peer.read(THREE[name]))
            print(f"{name:6} {kind.__name__:10} {written:8.0f} {size:7.1f} {every:8.1f} {three:8.1f}", flush=True)


if __name__ == "__main__":
    library = Library(sys.argv[1])
    if len(sys.argv) > 2:
        main(sys.argv[2])
    else:
        with tempfile.TemporaryDirectory() as made:
            main(made)
