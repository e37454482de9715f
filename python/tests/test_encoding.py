"""Files that state another encoding than their text has."""

import pickle
import shutil
import struct
import subprocess
import sys

import polars
import pytest
from conftest import SAMPLES

import datasrc

RIGHT = "windows-1252"
WRONG_NUMBERS = [65001, 1251, 932, 2, 0]  # the last two name no code page


def state(path, number):
    """Makes the file state the code page of a number."""
    data = bytearray(path.read_bytes())
    record = data.index(struct.pack("<4i", 7, 3, 4, 8))
    struct.pack_into("<i", data, record + 16 + 7 * 4, number)
    path.write_bytes(data)
    return path


@pytest.fixture
def right():
    return datasrc.open(SAMPLES / "cp1252.quav")


@pytest.fixture(params=WRONG_NUMBERS)
def wrong(request, made):
    return state(shutil.copy(SAMPLES / "cp1252.quav", made), request.param)


@pytest.fixture
def utf8(made):
    """A file in UTF-8 that states windows-1252."""
    datasrc.write({"text": ["\u00e4\u20ac", "b", "\u65e5\u672c", "", "x"]}, made,
                  variables={"text": {"label": "\u00dcber", "value_labels": {"b": "\u03b2"}}},
                  label="\u00c9t\u00e9", documents="\u00f1", attributes={"Note": ["\u0416"]})
    return state(made, 1252)


def test_the_dictionary_is_that_of_the_right_file(wrong, right):
    survey = datasrc.open(wrong, encoding="cp1252")
    assert survey.facts == right.facts and survey.encoding == RIGHT
    assert datasrc.open(wrong).facts != right.facts


def test_a_file_in_utf8(utf8):
    survey = datasrc.open(utf8, encoding="utf8")
    assert (survey.encoding, survey.label, survey.attributes) == ("UTF-8", "\u00c9t\u00e9", {"Note": ["\u0416"]})
    assert survey.documents[0]["lines"][0] == "\u00f1"
    text = survey.variables["text"]
    assert (text.label, text.value_labels) == ("\u00dcber", {"b": "\u03b2"})
    assert survey.read().to_pydict() == {"text": ["\u00e4\u20ac", "b", "\u65e5\u672c", "", "x"]}
    assert survey.read(labels=True).to_pydict()["text"][1] == "\u03b2"
    assert datasrc.open(utf8).label != survey.label


@pytest.mark.parametrize("labels", [False, True])
def test_all_ways_of_reading_agree(wrong, right, labels):
    wanted = right.read(labels=labels).to_pydict()
    survey = datasrc.open(wrong, encoding=RIGHT)
    assert survey.read(labels=labels).to_pydict() == wanted
    assert survey.to_arrow(labels=labels).equals(right.to_arrow(labels=labels), check_metadata=True)
    assert survey.to_pandas(labels=labels).equals(right.to_pandas(labels=labels))
    assert survey.to_pandas(labels=labels).attrs == right.to_pandas(labels=labels).attrs
    assert survey.to_polars(labels=labels).equals(right.to_polars(labels=labels))
    batches = [value for batch in survey.batches(1, labels=labels) for value in batch.column(1)]
    assert batches == list(wanted.values())[1]
    lazy = datasrc.scan_polars(wrong, encoding=RIGHT, labels=labels)
    assert lazy.collect().equals(right.to_polars(labels=labels))
    assert lazy.select(polars.nth(1)).collect().to_series().to_list() == list(wanted.values())[1]


@pytest.mark.parametrize("count", range(1, 6))
def test_splits_carry_the_encoding(wrong, right, count):
    tokens = datasrc.open(wrong, encoding=RIGHT).splits(count)
    rows = [row for token in tokens for row in datasrc.read_split(token).to_arrow().to_pylist()]
    assert rows == right.to_arrow().to_pylist()


def test_another_process_decodes_a_split_alike(utf8):
    token, = datasrc.open(utf8, encoding="utf-8").splits(1)
    code = ("import datasrc, pickle, sys; token = pickle.load(sys.stdin.buffer); "
            "sys.stdout.buffer.write(pickle.dumps(datasrc.read_split(token).to_pydict()))")
    done = subprocess.run([sys.executable, "-c", code], input=pickle.dumps(token), capture_output=True, check=True)
    assert pickle.loads(done.stdout) == {"text": ["\u00e4\u20ac", "b", "\u65e5\u672c", "", "x"]}


def test_dask_workers_decode_alike(wrong, right):
    frame = datasrc.dask.read([wrong, wrong], encoding=RIGHT, partitions=2)
    for scheduler in ("sync", "processes"):
        found = frame.compute(scheduler=scheduler).astype(str)  # Dask may choose other types for texts
        wanted = right.to_pandas().astype(str)
        assert found.values.tolist() == 2 * wanted.values.tolist()


def test_an_append_stores_text_in_the_encoding(wrong, right, tmp_path):
    more = right.to_arrow()
    assert datasrc.append(wrong, more, encoding=RIGHT) == 3
    copy = shutil.copy(SAMPLES / "cp1252.quav", tmp_path / "right.quav")
    assert datasrc.append(copy, more) == 3
    assert datasrc.open(wrong, encoding=RIGHT).to_arrow().equals(datasrc.open(copy).to_arrow())
    stated = struct.unpack_from("<i", wrong.read_bytes(), wrong.read_bytes().index(struct.pack("<4i", 7, 3, 4, 8)) + 44)
    assert state(copy, *stated).read_bytes() == wrong.read_bytes()


def test_text_that_the_encoding_lacks_is_not_appended(wrong):
    before = wrong.read_bytes()
    rows = datasrc.open(wrong, encoding="latin-1").to_pandas()
    rows.iloc[0, 1] = "\u20ac"
    with pytest.raises(datasrc.Error, match="encoding of the file"):
        datasrc.append(wrong, rows, encoding="latin-1")
    assert wrong.read_bytes() == before


@pytest.mark.parametrize("name", ["klingon", "utf-16", "utf-7", "iso-2022-jp", "\u00e4", "x" * 200])
def test_an_encoding_that_no_file_can_have(penguins, made, name):
    shutil.copy(penguins, made)
    frame = datasrc.open(penguins).to_arrow()
    for call in (lambda: datasrc.open(penguins, encoding=name), lambda: datasrc.scan_polars(penguins, encoding=name),
                 lambda: datasrc.dask.read(penguins, encoding=name),
                 lambda: datasrc.append(made, frame, encoding=name)):
        with pytest.raises(ValueError, match=f"'{name}' is not an encoding that a file can have") as caught:
            call()
        assert isinstance(caught.value, datasrc.Error)
    assert made.read_bytes() == penguins.read_bytes()


def test_wrong_arguments(penguins):
    for wrong in (3, b"utf-8"):
        with pytest.raises(TypeError, match="an encoding must be a str"):
            datasrc.open(penguins, encoding=wrong)
    with pytest.raises(ValueError, match="zero character"):
        datasrc.open(penguins, encoding="utf-8\0")
    with pytest.raises(ValueError, match="no encoding"):
        datasrc.scan_polars(datasrc.open(penguins), encoding="utf-8")
