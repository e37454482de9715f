"""Files that are made of dicts, frames and tables."""

import datetime
import decimal
import math

import numpy
import pandas
import polars
import pyarrow
import pytest

import datasrc


def read_back(path, **options):
    return datasrc.open(path).read(**options).to_pydict()


def test_extension_blocks_that_the_library_makes_itself_are_not_stored(made):
    blocks = b'[{"type": 7, "element_size": 1, "data": "00c0"}, {"type": 77, "element_size": 1, "data": "00c0"}]'
    table = pyarrow.table({"v": [1.0]}).replace_schema_metadata({b"datasrc.extensions": blocks})
    with pytest.warns(datasrc.Warning, match="block of type 7 is not stored") as caught:
        datasrc.write(table, made)
    assert len(caught) == 1
    metadata = datasrc.open(made).to_arrow().schema.metadata
    assert b'"type":77' in metadata[b"datasrc.extensions"] and b'"type":7,' not in metadata[b"datasrc.extensions"]


def test_a_mapping_of_sequences(made):
    day = datetime.date(2024, 2, 29)
    data = {"i": [1, None, -3], "f": (0.5, math.nan, 2), "b": [True, False, None], "s": ["\u00e4", None, ""],
            "d": [day, None, day], "t": [datetime.time(1, 2, 3), None, None], "n": [None, None, None],
            "x": [decimal.Decimal("0.1"), 2, None], "r": range(3), "z": numpy.array([1.5, math.nan, 3]),
            "m": numpy.array(["2024-02-29", "NaT", "1970-01-01"], "datetime64[ns]"),
            "g": numpy.array([1, 2, 3], "int8"), "p": pandas.Series([1, None, 3], dtype="Int64"),
            "l": [numpy.int64(3), None, 1]}
    assert datasrc.write(data, made) == 3
    found = read_back(made, dates=True)
    assert found["i"] == [1.0, None, -3.0] and found["f"] == [0.5, None, 2.0] and found["b"] == [1.0, 0.0, None]
    assert found["s"] == ["\u00e4", "", ""] and found["d"] == [day, None, day] and found["n"] == [None] * 3
    assert found["t"] == [datetime.timedelta(hours=1, minutes=2, seconds=3), None, None]
    assert found["x"] == [0.1, 2.0, None] and found["r"] == [0.0, 1.0, 2.0] and found["z"] == [1.5, None, 3.0]
    assert found["m"] == [datetime.datetime(2024, 2, 29), None, datetime.datetime(1970, 1, 1)]
    assert found["g"] == [1.0, 2.0, 3.0] and found["p"] == [1.0, None, 3.0] and found["l"] == [3.0, None, 1.0]


def test_values_of_a_mapping_that_would_change_are_refused(made):
    for values in ([2**53 + 1], [decimal.Decimal("0.1000000000000000000001")], [1, "x"], [b"x"], [object()],
                   [["nested"]]):
        with pytest.raises(datasrc.DataError):
            datasrc.write({"a": values}, made)
    for value, reason in ((2**64 + 1, "without loss"), (10**400, "is too large"), ("\ud800", "is not Unicode"),
                          (decimal.Decimal("0.1000000000000000000001"), "without loss"),
                          (datetime.timedelta.max, "is too large")):
        with pytest.raises(datasrc.DataError, match=f'the value ".*" of the column a in row 1 .*{reason}$'):
            datasrc.write({"a": [None, value]}, made)
    for time in (numpy.datetime64("2024-02-29T00:00:00.000000001"), numpy.datetime64("20000-01-01T00:00", "us")):
        for values in ([time], numpy.array([time])):
            with pytest.raises(datasrc.DataError, match="finer than a microsecond, or in a year"):
                datasrc.write({"a": values}, made)
    for text in ("abc", b"abc"):
        with pytest.raises(TypeError, match="no text"):
            datasrc.write({"a": text}, made)
    with pytest.raises(ValueError, match="length"):
        datasrc.write({"a": [1], "b": [1, 2]}, made)
    with pytest.raises(datasrc.DataError):
        datasrc.write({"a": [1], "A": [1]}, made)
    with pytest.raises(datasrc.DataError):
        datasrc.write({}, made)
    assert not made.exists()


def test_missing_values_of_any_kind(made):
    data = {"decimal": [decimal.Decimal("NaN"), decimal.Decimal(1)],
            "float32": [numpy.float32("nan"), numpy.float32(1.5)],
            "day": [numpy.datetime64("NaT"), numpy.datetime64("2024-02-29")],
            "time": [numpy.datetime64("NaT"), numpy.datetime64("2024-02-29T01:02:03", "ns")],
            "span": [numpy.timedelta64("NaT"), numpy.timedelta64(5, "s")]}
    datasrc.write(data, made)
    assert read_back(made, dates=True) == {
        "decimal": [None, 1.0], "float32": [None, 1.5], "day": [None, datetime.date(2024, 2, 29)],
        "time": [None, datetime.datetime(2024, 2, 29, 1, 2, 3)], "span": [None, datetime.timedelta(seconds=5)]}


def test_integers_beyond_64_bits(made):
    datasrc.write({"a": [2**70, -1]}, made)
    assert read_back(made) == {"a": [float(2**70), -1.0]}


def test_times_with_a_zone_are_stored_in_utc(made):
    zone = datetime.timezone(datetime.timedelta(hours=2))
    with pytest.warns(datasrc.Warning, match="UTC"):
        datasrc.write({"t": [datetime.datetime(2024, 1, 1, 12, tzinfo=zone), None]}, made)
    assert read_back(made, dates=True) == {"t": [datetime.datetime(2024, 1, 1, 10), None]}


def test_a_dictionary_for_new_columns(made):
    variables = {
        "sex": {"label": "Sex", "value_labels": {"MALE": "male", "FEMALE": "female"}, "width": 10,
                "measure": "nominal"},
        "AGE": {"missing": [99, datasrc.MissingRange(-math.inf, -1)], "role": "target",
                "format": datasrc.Format(5, 3, 0), "attributes": {"unit": ["years", "old"]}, "alignment": "center",
                "display_width": 12}}
    datasrc.write({"sex": ["MALE", "FEMALE"], "age": [31, 99], "score": [1.5, 2.5]}, made, label="People",
                  documents="first\nsecond", attributes={"Author": "Ann"}, weight="score", compress="zlib",
                  variables=variables)
    survey = datasrc.open(made)
    sex, age = survey.variables["sex"], survey.variables["age"]
    assert (sex.label, sex.width, sex.measure) == ("Sex", 10, "nominal")
    assert sex.value_labels == {"MALE": "male", "FEMALE": "female"}
    assert age.missing == [datasrc.MissingRange(-math.inf, -1.0), 99.0]
    assert (age.role, age.format, age.alignment, age.display_width) == ("target", (5, 3, 0), "center", 12)
    assert age.attributes == {"unit": ["years", "old"]}
    assert (survey.label, survey.weight, survey.compression) == ("People", "score", "zlib")
    assert survey.attributes == {"Author": ["Ann"]}
    assert [line for line in survey.documents[0]["lines"] if "Entered" not in line] == ["first", "second"]
    assert survey.read(user_missing="null", columns=["age"]).to_pydict() == {"age": [31.0, None]}
    # Facts of a variable are as good as wishes.
    datasrc.write({"a": [1]}, made, variables={"a": {k: v for k, v in age.facts.items()}})
    assert datasrc.open(made).variables["a"].missing == age.missing


def test_columns_of_labels_become_numbers_with_these_labels(made):
    labels = {"value_labels": {1: "male", 2: "female"}}
    datasrc.write({"sex": ["male", "female", "male"]}, made, variables={"sex": labels})
    assert read_back(made) == {"sex": [1.0, 2.0, 1.0]}
    assert read_back(made, labels=True) == {"sex": ["male", "female", "male"]}


def test_categories_of_pandas_become_labels(made):
    kinds = pandas.Categorical(["low", "high", None, "low"], categories=["low", "mid", "high"], ordered=True)
    frame = pandas.DataFrame({"kind": kinds, "number": pandas.Categorical([1, 2, 1, None])})
    datasrc.write(frame, made, variables={"kind": {"label": "Kind"}})
    survey = datasrc.open(made)
    assert survey.variables["kind"].value_labels == {1.0: "low", 2.0: "mid", 3.0: "high"}
    assert (survey.variables["kind"].measure, survey.variables["kind"].label) == ("ordinal", "Kind")
    assert survey.read().to_pydict() == {"kind": [1.0, 3.0, None, 1.0], "number": [1.0, 2.0, 1.0, None]}
    again = survey.to_pandas(labels=True)
    assert again["kind"].cat.categories.tolist() == ["low", "mid", "high"]
    assert again["kind"].tolist()[:2] == ["low", "high"] and again["kind"].isna()[2]
    datasrc.write(frame, made, categories="text")
    assert read_back(made)["kind"] == ["low", "high", "", "low"]
    frame["kind"] = frame["kind"].cat.add_categories([""])  # no label is empty
    datasrc.write(frame, made)
    assert not datasrc.open(made).variables["kind"].value_labels


def test_categories_that_are_other_than_the_labels_of_the_dictionary(penguins, made):
    frame = datasrc.open(penguins).to_pandas(labels=True)
    frame["species"] = frame["species"].cat.rename_categories({"Adelie": "A", "Gentoo": "G", "Chinstrap": "C"})
    datasrc.write(frame, made)
    species = datasrc.open(made).variables["species"]
    assert species.label == "Species" and species.value_labels == {1.0: "A", 2.0: "C", 3.0: "G"}
    assert read_back(made, labels=True)["species"] == frame["species"].tolist()


def test_categories_of_polars_become_labels(made):
    frame = polars.DataFrame({"e": ["b", None, "a"], "c": ["y", "x", "y"]},
                             schema={"e": polars.Enum(["a", "b"]), "c": polars.Categorical})
    datasrc.write(frame, made)
    survey = datasrc.open(made)
    assert survey.variables["e"].value_labels == {1.0: "a", 2.0: "b"} and survey.variables["e"].measure == "ordinal"
    assert survey.read(labels=True).to_pydict() == {"e": ["b", None, "a"], "c": ["y", "x", "y"]}
    datasrc.write(frame.lazy().collect(), made, categories="text")
    assert read_back(made) == {"e": ["b", "", "a"], "c": ["y", "x", "y"]}


def test_nullable_types_of_pandas(made):
    frame = pandas.DataFrame({
        "i": pandas.array([1, None, 3], "Int8"), "u": pandas.array([1, None, 3], "UInt32"),
        "f": pandas.array([0.5, None, 3], "Float64"), "b": pandas.array([True, None, False], "boolean"),
        "s": pandas.array(["a", None, "c"], "string"), "a": pandas.array([1, None, 3], "int64[pyarrow]"),
        "o": ["x", None, "z"], "d": pandas.to_datetime(["2024-02-29", None, "1999-12-31"]),
        "td": pandas.to_timedelta(["1 days", None, "00:00:01"]), "sp": pandas.arrays.SparseArray([0.0, 1.0, 0.0])})
    datasrc.write(frame, made)
    found = datasrc.open(made).to_pandas(dates=True)
    numbers = {"i": [1, None, 3], "u": [1, None, 3], "f": [0.5, None, 3], "b": [1, None, 0], "a": [1, None, 3]}
    for name, wanted in numbers.items():
        assert [None if math.isnan(value) else value for value in found[name]] == wanted, name
    assert found["s"].tolist() == ["a", "", "c"] and found["o"].tolist() == ["x", "", "z"]
    for name in ("d", "td"):
        assert found[name].equals(frame[name].astype(found[name].dtype))
    assert found["sp"].tolist() == [0.0, 1.0, 0.0]


def test_what_no_variable_holds_is_refused(made):
    frames = [pandas.DataFrame({"a": pandas.period_range("2024", periods=2)}),
              pandas.DataFrame({"a": pandas.interval_range(0, 2)}), pandas.DataFrame({"a": [1j]}),
              pandas.DataFrame({"a": [[1], [2]]}), pandas.DataFrame({"a": [1, "x"]}), pandas.DataFrame({"a": [b"x"]}),
              pandas.DataFrame([[1, 2]], columns=["a", "a"]),
              pandas.DataFrame({"a b": [1]}), polars.DataFrame({"a": [[1]]}),
              pyarrow.table([[1], [2]], names=["a", "a"])]
    for frame in frames:
        with pytest.raises(datasrc.Error):
            datasrc.write(frame, made)
            pytest.fail(repr(frame))
        assert not made.exists()
    datasrc.write({"a": [1]}, made)
    before = made.read_bytes()
    with pytest.raises(datasrc.DataError, match="duplicate|twice|name a"):
        datasrc.write(frames[6], made)
    assert made.read_bytes() == before


def test_an_index_with_names_becomes_columns(made):
    frame = pandas.DataFrame({"v": [1.0, 2.0]}, index=pandas.Index(["a", "b"], name="key"))
    datasrc.write(frame, made)
    assert read_back(made) == {"key": ["a", "b"], "v": [1.0, 2.0]}
    datasrc.write(frame.rename_axis(None), made)
    assert read_back(made) == {"v": [1.0, 2.0]}
    levels = frame.set_index(pandas.MultiIndex.from_tuples([("x", 1), ("y", 2)], names=["one", None]))
    datasrc.write(levels, made)
    assert read_back(made) == {"one": ["x", "y"], "v": [1.0, 2.0]}
    datasrc.write(frame.reset_index(drop=True)[1:], made)
    assert read_back(made) == {"v": [2.0]}


def test_empty_frames_and_wide_ones(made):
    for empty in (pandas.DataFrame({"a": pandas.Series(dtype="float64"), "s": pandas.Series(dtype="str")}),
                  {"a": [], "s": []}, pyarrow.table({"a": pyarrow.array([], "f8"), "s": pyarrow.array([], "utf8")})):
        assert datasrc.write(empty, made) == 0
        survey = datasrc.open(made)
        assert len(survey) == 0 and list(survey.variables) == ["a", "s"]
        assert survey.to_pandas().shape == (0, 2) and survey.to_polars().shape == (0, 2)
        assert survey.splits(3) and list(survey.batches()) == []
    wide = pandas.DataFrame(numpy.arange(20_000.0).reshape(2, 10_000), columns=[f"v{k}" for k in range(10_000)])
    assert datasrc.write(wide, made) == 2
    survey = datasrc.open(made)
    assert survey.to_pandas().equals(wide)
    assert survey.to_pandas(columns=["V9999"])["v9999"].tolist() == [9999.0, 19999.0]
    assert "9940 more" in repr(survey)
    again = survey.to_pandas()
    datasrc.write(again[["v7"]], made)
    assert read_back(made) == {"v7": [7.0, 10007.0]}


def test_a_changed_frame_keeps_what_still_fits(penguins, made):
    frame = datasrc.open(penguins).to_pandas()
    frame = frame[frame["BodyMass"] > 5000][["sex", "BodyMass"]].assign(kilos=lambda f: f["BodyMass"] / 1000)
    datasrc.write(frame, made)
    survey = datasrc.open(made)
    assert survey.label == "Penguins of the Palmer Archipelago" and survey.variables["sex"].label == "Sex"
    assert survey.variables["sex"].missing == ["."] and survey.variables["kilos"].label is None
    assert survey.rows == len(frame)


def test_other_givers_of_arrow(penguins, made):
    survey = datasrc.open(penguins)
    batch = next(survey.batches(10))
    for data in (batch, batch.to_arrow(), pyarrow.RecordBatchReader.from_stream(survey),
                 survey.read(rows=slice(0, 10))):
        assert datasrc.write(data, made) in (10, 344)
        assert datasrc.open(made).variables["sex"].label == "Sex"
    failing = pyarrow.RecordBatchReader.from_batches(pyarrow.schema([("a", pyarrow.int8())]), _failing())
    with pytest.raises(datasrc.Error, match="no more"):
        datasrc.write(failing, made)


def _failing():
    yield pyarrow.record_batch({"a": pyarrow.array([1], pyarrow.int8())})
    raise ValueError("no more")


def test_appending(penguins, made):
    frame = datasrc.open(penguins).to_pandas(labels=True)
    datasrc.write(frame[:100], made)
    assert datasrc.append(made, frame[100:]) == 244
    assert datasrc.append(made, datasrc.open(penguins).to_polars(rows=slice(0, 0))) == 0
    assert datasrc.open(made).to_pandas(labels=True).equals(frame)
    before = made.read_bytes()
    with pytest.raises(datasrc.Error):
        datasrc.append(made, {"species": [1]})
    assert made.read_bytes() == before


def test_a_row_that_does_not_fit_is_named(made):
    with pytest.raises(datasrc.DataError, match="row 1"):
        datasrc.write({"a": ["x", "y" * 40_000]}, made)
    with pytest.raises(datasrc.DataError, match="row 1"):
        datasrc.write(pandas.DataFrame({"a": ["x", "y" * 5]}), made, variables={"a": {"width": 3}})


def test_progress(penguins, made):
    seen = []
    survey = datasrc.open(penguins)
    survey.to_arrow(progress=lambda rows, total: seen.append((rows, total)))
    assert seen[-1] == (344, 344)
    datasrc.write(survey.to_pandas(), made, progress=lambda rows, total: seen.append((rows, total)))
    assert seen[-1] == (344, 344)
    pyarrow.table(survey.read(rows=slice(0, 7), progress=lambda rows, total: seen.append((rows, total))))
    assert seen[-1] == (7, 7)
    survey.to_polars(progress=True)  # the bar of tqdm

    def refuse(rows, total):
        raise RuntimeError("enough")

    for call in (lambda: survey.to_arrow(progress=refuse), lambda: survey.to_polars(progress=refuse),
                 lambda: list(survey.batches(progress=refuse)),
                 lambda: datasrc.write(survey.to_pandas(), made, progress=refuse)):
        with pytest.raises(RuntimeError, match="enough"):
            call()
