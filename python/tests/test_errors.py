"""Exceptions, warnings and passwords."""

import copy
import os
import pickle
import tempfile
import traceback
from pathlib import Path

import pyarrow
import pytest

import datasrc


@pytest.mark.parametrize("path, kind, base", [
    ("nobody.quav", datasrc.FileMissingError, FileNotFoundError),
    (".", datasrc.FileIsFolderError, IsADirectoryError),
    ("nobody/nobody.quav", datasrc.FileMissingError, FileNotFoundError),
])
def test_a_file_that_cannot_be_opened(path, kind, base, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(kind) as caught:
        datasrc.open(path)
    error = caught.value
    assert isinstance(error, base) and isinstance(error, datasrc.Error) and isinstance(error, OSError)
    assert (error.number, error.file, error.filename, error.place) == (1201, path, path, "")
    assert error.errno and os.strerror(error.errno) == error.strerror
    assert path in str(error) and "1201" in str(error)


NOBODY = 65534


@pytest.fixture
def reachable():
    """A folder that every user can reach: those of pytest are the user's alone."""
    with tempfile.TemporaryDirectory() as name:
        os.chmod(name, 0o755)
        yield Path(name)


def as_nobody(folder, call):
    """What comes of the call in a child that has given the superuser's rights away: permissions do not stop these.

    The child owns the folder and its files. It can read no modules where only the superuser can.
    """
    if os.geteuid() == 0:
        for path in (folder, *folder.iterdir()):
            os.chown(path, NOBODY, NOBODY)
    pid = os.fork()
    if pid == 0:
        status = 3
        try:
            if os.geteuid() == 0:
                os.setresuid(NOBODY, NOBODY, NOBODY)
            call(folder)
            status = 0
        except datasrc.FileAccessError as error:
            status = 1 if isinstance(error, PermissionError) else 2
        finally:
            os._exit(status)
    return {0: "done", 1: "refused"}.get(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), "failed")


ONE = {"a": [1]}


@pytest.mark.parametrize("name, call", [
    ("closed.quav", lambda folder: datasrc.open(folder / "closed.quav")),
    ("closed.quav", lambda folder: datasrc.append(folder / "closed.quav", ONE)),
    ("closed.quav", lambda folder: datasrc.write(ONE, folder / "closed.quav")),
    ("fixed.quav", lambda folder: datasrc.append(folder / "fixed.quav", ONE)),
    ("fixed.quav", lambda folder: datasrc.write(ONE, folder / "fixed.quav")),
])
@pytest.mark.parametrize("compress", ["none", "bytecode", "zlib"])
def test_a_file_without_permission(reachable, name, call, compress):
    path = reachable / name
    datasrc.write(ONE, path, compress=compress)
    before = path.read_bytes()
    path.chmod(0 if name == "closed.quav" else 0o444)
    assert as_nobody(reachable, call) == "refused"
    path.chmod(0o644)
    assert path.read_bytes() == before
    assert as_nobody(reachable, call) == "done"


def test_a_folder_without_permission(reachable):
    reachable.chmod(0o555)
    assert as_nobody(reachable, lambda folder: datasrc.write(ONE, folder / "made.quav")) == "refused"
    reachable.chmod(0o755)
    assert as_nobody(reachable, lambda folder: datasrc.write(ONE, folder / "made.quav")) == "done"


def test_a_file_that_cannot_be_made(tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        datasrc.write({"a": [1]}, tmp_path / "nobody" / "made.quav")
    assert isinstance(caught.value, datasrc.Error) and "nobody" in caught.value.file
    with pytest.raises(FileNotFoundError):
        datasrc.append(tmp_path / "nobody.quav", {"a": [1]})


def test_a_folder_is_no_file(tmp_path):
    for call in (lambda: datasrc.open(tmp_path), lambda: datasrc.write({"a": [1]}, tmp_path),
                 lambda: datasrc.append(tmp_path, {"a": [1]}), lambda: datasrc.scan_polars(tmp_path),
                 lambda: datasrc.dask.read(tmp_path)):
        with pytest.raises(IsADirectoryError) as caught:
            call()
        assert isinstance(caught.value, datasrc.FileIsFolderError) and caught.value.file == str(tmp_path)
    with pytest.raises(datasrc.Error, match="not a regular file"):
        datasrc.write({"a": [1]}, "/dev/null")


def test_a_missing_file(tmp_path):
    path = tmp_path / "nobody.quav"
    with pytest.raises(datasrc.FileMissingError, match="pattern"):
        datasrc.dask.read(tmp_path / "*.quav")
    for call in (lambda: datasrc.open(path), lambda: datasrc.append(path, {"a": [1]}),
                 lambda: datasrc.scan_polars(path), lambda: datasrc.dask.read(path),
                 lambda: datasrc.write({"a": [1]}, tmp_path / "nobody" / "made.quav")):
        with pytest.raises(FileNotFoundError):
            call()


def test_errors_are_copied_and_pickled():
    for kind in (datasrc.Error, datasrc.FileMissingError, datasrc.PasswordError, datasrc.DataError):
        error = kind("text", number=1205, file="a.quav", place="byte 3")
        for other in (pickle.loads(pickle.dumps(error)), copy.copy(error)):
            assert type(other) is kind and str(other) == str(error) == "error 1205: text: a.quav (byte 3)"
            assert (other.number, other.text, other.file, other.place) == (1205, "text", "a.quav", "byte 3")


def test_paths_are_text_bytes_and_path_objects(penguins, made):
    for path in (str(penguins), os.fsencode(penguins), penguins):
        assert datasrc.open(path).rows == 344
    for path in (1, None, ["x"]):
        with pytest.raises(TypeError):
            datasrc.open(path)
    with pytest.raises(ValueError):
        datasrc.open("a\0b")
    odd = made.parent / "\u00e4\u20ac \U0001f427.quav"
    assert datasrc.write({"a": [1]}, odd) == 1
    assert datasrc.open(odd).path == str(odd)
    latin = os.fsencode(made.parent) + b"/\xe4.quav"  # no UTF-8
    assert datasrc.write({"a": [1]}, latin) == 1
    assert os.fsencode(datasrc.open(latin).path) == latin
    with pytest.raises(datasrc.FileMissingError):
        datasrc.open(os.fsencode(made.parent) + b"/\xe5.quav")


def test_passwords(made):
    password = "open sesame \u00e4"
    datasrc.write({"a": [1, 2]}, made, encrypt=password.encode())
    datasrc.append(made, {"a": [3]}, password=password)
    survey = datasrc.open(made, password=password)
    assert survey.encrypted and survey.read().to_pydict() == {"a": [1.0, 2.0, 3.0]}
    token, = survey.splits(1)
    assert datasrc.read_split(token, password=password).to_pydict() == {"a": [1.0, 2.0, 3.0]}
    lazy = datasrc.scan_polars(survey)
    assert lazy.collect().height == 3
    for wrong, number in (("other", 1213), (None, 1214)):
        with pytest.raises(datasrc.PasswordError) as caught:
            datasrc.open(made, password=wrong)
        assert caught.value.number == number
    dask = datasrc.dask.read(made, password=password)
    assert dask.compute(scheduler="sync")["a"].tolist() == [1.0, 2.0, 3.0]
    for thing in (survey, survey.read(), token, lazy, lazy.explain(), dask, dask.__dask_graph__()):
        assert "sesame" not in repr(thing)


def test_no_traceback_shows_a_password(penguins, made):
    secret = "hidden" + " words"
    for call in (lambda: datasrc.open(penguins, password=secret), lambda: datasrc.dask.read(penguins, password=secret),
                 lambda: datasrc.write({"a": ["x"], "A": [1]}, made, encrypt=secret)):
        with pytest.raises(datasrc.Error) as caught:
            call()
        assert secret not in "".join(traceback.format_exception(caught.value))
    for wrong in (3, ["x"]):
        with pytest.raises(TypeError, match="str or bytes"):
            datasrc.open(penguins, password=wrong)
    with pytest.raises(ValueError, match="zero character"):
        datasrc.open(penguins, password="a\0b")


def test_notes_are_warnings(made):
    zone = pyarrow.table({"t": pyarrow.array([0], pyarrow.timestamp("s", "Europe/Berlin"))})
    with pytest.warns(datasrc.Warning, match="UTC") as caught:
        datasrc.write(zone, made)
    assert caught[0].filename == __file__


def test_a_time_that_no_number_is(made):
    import datetime

    moments = [datetime.datetime(2024, 2, 29, 12, 34, 56, 789000 + k) for k in range(10)]
    with pytest.raises(datasrc.DataError, match="round_times=True"):
        datasrc.write({"t": moments}, made)
    assert not made.exists()
    datasrc.write({"t": moments}, made, round_times=True)
    with pytest.raises(datasrc.DataError) as caught:
        datasrc.write({"n": [2**53 + 1]}, made)
    assert "round_times" not in str(caught.value), "the value is no time"


def test_wrong_arguments(made):
    for options, text in (({"compress": "zip"}, "compress"), ({"categories": "codes"}, "categories")):
        with pytest.raises(ValueError, match=text):
            datasrc.write({"a": [1]}, made, **options)
    with pytest.raises(ValueError, match="a variable has no lable"):
        datasrc.write({"a": [1]}, made, variables={"a": {"lable": "x"}})
    with pytest.raises(ValueError, match="measure is one of"):
        datasrc.write({"a": [1]}, made, variables={"a": {"measure": "metric"}})
    with pytest.raises(datasrc.Error, match="b, which is no column"):
        datasrc.write({"a": [1]}, made, variables={"b": {"label": "x"}})
    with pytest.raises(TypeError, match="no frame"):
        datasrc.write(3, made)
    for token in ("x", "", "datasrc-split-1:a"):
        with pytest.raises(datasrc.SplitError, match="damaged"):
            datasrc.read_split(token).to_pydict()
    assert not made.exists()
