"""Times the Python package beside other ways to keep the same tables: Parquet and Feather by pyarrow, and DuckDB.

    build/python/bin/python bench/python/frames.py [FOLDER]

needs the package with pyarrow, pandas and duckdb, as scripts/test_python.sh installs them. It makes the tables T1, T2
and T3 of the other benchmarks in FOLDER (by default one in /tmp, which is deleted), reads each into a table of pyarrow
and into a frame of pandas, and prints the least of several times in ms: all columns and three columns, on one thread and
on all. The ratios are to Parquet. The files are in the system's cache.
"""

import os
import sys
import tempfile
import time
from pathlib import Path

import duckdb
import pyarrow
import pyarrow.feather
import pyarrow.parquet

import datasrc

sys.path.insert(1, str(Path(__file__).resolve().parents[1]))
from peer_tables import THREE, tables  # noqa: E402

ROUNDS = 7


class SystemFile:
    suffix, compress = "quav", "bytecode"

    def write(self, table, path):
        datasrc.write(table, path, compress=self.compress, sync=False)
        self.survey = datasrc.open(path)

    def arrow(self, columns, threads):
        return self.survey.to_arrow(columns=columns, threads=threads)

    def pandas(self, columns, threads):
        return self.survey.to_pandas(columns=columns, threads=threads)


class ZlibFile(SystemFile):
    suffix, compress = "zquav", "zlib"


class ArrowPeer:
    def pandas(self, columns, threads):
        return self.arrow(columns, threads).to_pandas(use_threads=threads > 1)


class Parquet(ArrowPeer):
    suffix = "parquet"

    def write(self, table, path):
        pyarrow.parquet.write_table(table, path)
        self.path = path

    def arrow(self, columns, threads):
        return pyarrow.parquet.read_table(self.path, columns=columns, use_threads=threads > 1, memory_map=True)


class Feather(ArrowPeer):
    suffix = "feather"

    def write(self, table, path):
        pyarrow.feather.write_feather(table, path)
        self.path = path

    def arrow(self, columns, threads):
        return pyarrow.feather.read_table(self.path, columns=columns, use_threads=threads > 1)


class DuckDb:
    suffix = "duckdb"

    def write(self, table, path):
        self.connection = duckdb.connect(path)
        self.connection.register("given", table)
        self.connection.execute("create table kept as select * from given")
        self.connection.execute("checkpoint")

    def query(self, columns, threads):
        self.connection.execute(f"set threads = {threads}")
        return self.connection.sql(f"select {', '.join(columns or ['*'])} from kept")

    def arrow(self, columns, threads):
        return self.query(columns, threads).to_arrow_table()

    def pandas(self, columns, threads):
        return self.query(columns, threads).df()


def least_time(work):
    times = []
    for _ in range(ROUNDS):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return 1000 * min(times)


def main(folder):
    all_threads = len(os.sched_getaffinity(0))
    print(f"{'table':5} {'format':10} {'to':6} {'threads':>7} {'all':>8} {'ratio':>6} {'three':>8} {'ratio':>6}")
    for name, table in tables():
        peers = []
        for kind in (Parquet, SystemFile, ZlibFile, Feather, DuckDb):
            peers.append(kind())
            peers[-1].write(table, str(Path(folder, f"{name}.{kind.suffix}")))
        for threads in sorted({1, all_threads}):
            pyarrow.set_cpu_count(threads)
            pyarrow.set_io_thread_count(threads)
            for target in ("arrow", "pandas"):
                limit = None
                for peer in peers:
                    read = getattr(peer, target)
                    assert len(read(None, threads)) == len(table)
                    few = read(THREE[name], threads)
                    assert list(few.columns if target == "pandas" else few.column_names) == THREE[name]
                    times = [least_time(lambda: read(None, threads)), least_time(lambda: read(THREE[name], threads))]
                    limit = limit or times
                    print(f"{name:5} {type(peer).__name__:10} {target:6} {threads:7} {times[0]:8.1f} "
                          f"{times[0] / limit[0]:6.2f} {times[1]:8.1f} {times[1] / limit[1]:6.2f}", flush=True)


if __name__ == "__main__":
    if len(sys.argv) > 1:
        main(sys.argv[1])
    else:
        with tempfile.TemporaryDirectory() as made:
            main(made)
