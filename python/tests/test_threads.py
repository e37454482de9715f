"""Signals, the GIL, threads, and what is left afterwards."""

import gc
import os
import resource
import signal
import subprocess
import sys
import textwrap
import threading
import time

import pyarrow
import pytest

import datasrc


@pytest.fixture(scope="module")
def big(tmp_path_factory):
    """A file that takes some tenths of a second on one thread."""
    path = tmp_path_factory.mktemp("big") / "big.quav"
    column = pyarrow.array([k + 0.5 for k in range(200_000)])
    datasrc.write(pyarrow.table({f"v{k}": column for k in range(60)}), path, compress="zlib", sync=False)
    return path


def counted(work):
    """How often another thread had a turn while `work` ran."""
    turns, stop = [0], threading.Event()

    def count():
        while not stop.is_set():
            turns[0] += 1
            time.sleep(0.0005)

    counter = threading.Thread(target=count)
    counter.start()
    time.sleep(0.01)
    before = turns[0]
    try:
        work()
    finally:
        during = turns[0] - before
        stop.set()
        counter.join()
    return during


def test_other_threads_run_while_the_library_works(big, made):
    survey = datasrc.open(big)
    # Each of these is one call of the extension or of another library that does not let the GIL go by itself.
    assert counted(lambda: survey.splits(4)) > 5
    assert counted(lambda: next(survey.batches(200_000, threads=1))) > 5
    assert counted(lambda: survey.to_arrow(threads=1)) > 5
    table = survey.to_arrow()
    assert counted(lambda: datasrc.write(table, made, sync=False)) > 5


def run(code, *arguments):
    return subprocess.Popen([sys.executable, "-c", textwrap.dedent(code), *map(str, arguments)],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


READERS = {
    "arrow": "survey.to_arrow(threads=1)",
    "polars": "survey.to_polars(threads=1)",
    "batches": "[batch for batch in survey.batches(1000, threads=2)]",
    "foreign": "pyarrow.table(survey.read(threads=1))",
    "write": "datasrc.write(survey.read(threads=1), '/dev/null', sync=False)",
}


@pytest.mark.parametrize("reader", READERS)
def test_ctrl_c_stops_a_long_read(big, reader, made):
    code = f"""
        import sys, time, datasrc, polars, pyarrow
        survey = datasrc.open(sys.argv[1])
        survey.to_arrow(rows=slice(0, 1))
        print("ready", flush=True)  # all is imported: Python ends by the signal if it comes within an import
        try:
            try:
                while True:
                    {READERS[reader].replace("'/dev/null'", repr(str(made)))}
            except OSError as error:  # of pyarrow, when the package's own code does not come between
                print(error, flush=True)
                time.sleep(10)  # the interrupt comes right after it
        except KeyboardInterrupt:
            print("stopped", flush=True)
    """
    process = run(code, big)
    try:
        assert process.stdout.readline() == "ready\n"
        time.sleep(0.3)
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=20)
    finally:
        process.kill()
    assert out in (["stopped\n", "interrupted\nstopped\n"] if reader == "foreign" else ["stopped\n"])
    # There, the interrupt may come once more, at the end of the process.
    assert reader == "foreign" or (err, process.returncode) == ("", 0)


def test_another_handler_of_a_signal_does_not_stop_a_read(big):
    seen = []
    old = signal.signal(signal.SIGALRM, lambda *_: seen.append(len(seen)))
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.01, 0.06)
        assert len(datasrc.open(big).to_arrow(threads=1)) == 200_000
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, old)
    assert seen


def test_many_threads_use_one_file(penguins):
    survey = datasrc.open(penguins)
    wanted, wrong = survey.to_arrow(labels=True), []

    def read():
        for _ in range(5):
            if not survey.to_arrow(labels=True).equals(wanted) or datasrc.open(penguins).rows != 344:
                wrong.append(1)
            try:
                datasrc.open(str(threading.get_ident()))
            except FileNotFoundError as error:
                if error.filename != str(threading.get_ident()):
                    wrong.append(2)

    threads = [threading.Thread(target=read) for _ in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_a_file_is_closed_while_others_read(penguins):
    for _ in range(20):
        survey = datasrc.open(penguins)
        batches = survey.batches(10)
        next(batches)
        closer = threading.Thread(target=survey.close)
        closer.start()
        assert sum(len(batch) for batch in batches) == 334
        closer.join()


def test_memory_stays_steady(penguins, made):
    def use():
        survey = datasrc.open(penguins)
        survey.read(labels=True).to_pydict()
        pyarrow.table(survey)
        next(survey.batches(5)).__arrow_c_array__()
        datasrc.write({"a": [1.0, None], "s": ["x", "y"]}, made, sync=False)
        try:
            datasrc.open("nobody")
        except datasrc.Error:
            pass

    def resident():
        gc.collect()
        with open("/proc/self/statm") as file:
            return int(file.read().split()[1]) * resource.getpagesize()

    for _ in range(200):
        use()
    before, objects, files = resident(), len(gc.get_objects()), len(os.listdir("/proc/self/fd"))
    for _ in range(800):
        use()
    assert resident() - before < 4 << 20
    assert len(gc.get_objects()) - objects < 200
    assert len(os.listdir("/proc/self/fd")) == files


def test_no_reference_leaks(penguins, made):
    """The extension's own report of what is left is empty when Python ends."""
    code = """
        import sys, datasrc, pyarrow
        survey = datasrc.open(sys.argv[1])
        kept = [survey.to_arrow(), next(survey.batches(3)), survey.read(), survey.__arrow_c_stream__()]
        try:
            survey.to_arrow(progress=lambda rows, total: 1 / 0)
        except ZeroDivisionError as error:
            kept.append(str(error))
        datasrc.write(kept[0], sys.argv[2])
        del kept, survey
    """
    process = run(code, penguins, made)
    assert process.communicate() == ("", "") and process.returncode == 0


def test_python_ends_while_a_stream_is_half_read(big):
    code = """
        import sys, threading, datasrc
        survey = datasrc.open(sys.argv[1])
        thread = threading.Thread(target=lambda: survey.to_arrow(progress=print), daemon=True)
        thread.start()
        batches = survey.batches(100, threads=4)
        next(batches)
    """
    process = run(code, big)
    process.communicate(timeout=20)
    assert process.returncode == 0
