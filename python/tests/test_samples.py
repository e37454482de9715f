"""Every sample file through the libraries that people use."""

import duckdb
import polars
import pyarrow
import pytest
from conftest import SAMPLES
from expected import GOOD, columns_of, exact, facts_of, path_of

import datasrc

# Facts of a file that are not those of its data set: a new file has others.
OF_THE_FILE = ("byte_order", "compression", "encoding", "encrypted", "extensions_found", "eye_catcher", "release",
               "timestamp")


def described(survey):
    return {name: value for name, value in survey.facts.items() if name not in OF_THE_FILE}


@pytest.mark.parametrize("name", GOOD)
def test_the_dictionary_is_that_of_the_tool(name):
    wanted, survey = facts_of(name), datasrc.open(path_of(name))
    for member in ("encoding", "timestamp"):  # where these are null, any value is right
        if wanted[member] is None:
            wanted[member] = survey.facts[member]
    assert wanted == survey.facts
    assert [variable["name"] for variable in wanted["variables"]] == list(survey.variables)
    assert name in repr(survey)
    assert survey._repr_html_().count("<table>") == 2


@pytest.mark.parametrize("name", GOOD)
def test_cases_have_the_expected_values(name):
    survey, wanted = datasrc.open(path_of(name)), columns_of(name)
    assert exact(survey.read().to_pydict().values()) == exact(wanted)
    assert exact(column.to_pylist() for column in survey.to_arrow().columns) == exact(wanted)
    assert exact(column.to_list() for column in survey.to_polars()) == exact(wanted)
    rows = duckdb.sql("select * from survey").fetchall()
    assert exact([list(column) for column in zip(*rows)]) == exact(wanted if wanted[0] else [])
    frame = survey.to_pandas()
    assert exact([frame[c].tolist() for c in frame], True) == exact(wanted, True)
    batches = list(survey.batches(7))
    assert all(len(batch) <= 7 for batch in batches)
    table = pyarrow.Table.from_batches([batch.to_arrow() for batch in batches], schema=pyarrow.schema(survey))
    assert exact(column.to_pylist() for column in table.columns) == exact(wanted)
    assert survey.rows is None or survey.rows == len(frame) or name == "count_too_large"


@pytest.mark.parametrize("name", GOOD)
@pytest.mark.parametrize("labels", [False, True])
def test_a_frame_written_again_keeps_the_dictionary(name, labels, made):
    survey = datasrc.open(path_of(name))
    for frame, like in ((survey.to_pandas(labels=labels), None), (survey.to_arrow(labels=labels), None),
                        (survey.to_polars(labels=labels), survey), (survey, None), (survey.read(labels=labels), None)):
        count = datasrc.write(frame, made, like=like, sync=False)
        again = datasrc.open(made)
        assert described(survey) | {"cases": count} == described(again)
        # pandas has no NaN beside missing values.
        assert exact(again.read().to_pydict().values(), True) == exact(columns_of(name), True)


@pytest.mark.parametrize("name", GOOD)
def test_labels_are_those_of_the_values(name):
    survey = datasrc.open(path_of(name))
    codes, labels = survey.to_pandas(), survey.to_pandas(labels=True)
    polars_labels = survey.to_polars(labels=True)
    for variable in survey.variables.values():
        if not variable.value_labels:
            assert codes[variable.name].equals(labels[variable.name])
            continue
        order = list(dict.fromkeys(variable.value_labels.values()))
        categories = list(labels[variable.name].dtype.categories)
        assert categories[:len(order)] == order  # in the order of the values
        wanted = [variable.value_labels.get(value, value) for value in codes[variable.name]]
        for found in (labels[variable.name].tolist(), polars_labels[variable.name].to_list()):
            for one, other in zip(wanted, found, strict=True):
                if isinstance(one, float):
                    assert other is None or other != other if one != one else float(other) == one
                else:
                    assert one == other


def bad_files():
    return sorted(path for folder in ("bad", "fatal", "found") for path in (SAMPLES / folder).rglob("*.quav"))


@pytest.mark.parametrize("path", bad_files(), ids=lambda path: path.stem)
def test_a_bad_file_is_an_error_or_has_cases(path):
    try:
        survey = datasrc.open(path)
        repr(survey)
        for options in ({}, {"labels": True, "threads": 2}):
            survey.to_arrow(**options)
            for _ in survey.batches(3, **options):
                pass
    except datasrc.Error as error:
        assert error.number and error.file == str(path)
        assert "\n" not in str(error)


def test_the_bad_files_have_their_errors():
    import json

    wanted = json.loads((SAMPLES / "bad" / "bad.json").read_text())
    for name, facts in wanted.items():
        path = SAMPLES / "bad" / name
        if facts.get("at") == "dictionary":
            with pytest.raises(datasrc.Error) as caught:
                datasrc.open(path)
            assert facts["error"] == caught.value.number, name
        elif "error" in facts:
            for read in (datasrc.SystemFile.to_arrow, datasrc.SystemFile.to_polars, datasrc.SystemFile.to_pandas,
                         lambda survey: list(survey.batches())):
                with pytest.raises(datasrc.Error) as caught:
                    read(datasrc.open(path))
                assert facts["error"] == caught.value.number, name
                assert str(path) == caught.value.file
    assert len(wanted) > 10


def test_the_fatal_files_are_refused():
    for path in (SAMPLES / "fatal").glob("*.quav"):
        with pytest.raises(datasrc.Error, match="does not hold") as caught:
            datasrc.open(path)
        assert caught.value.number == 1204
        assert "byte" in caught.value.place


def test_polars_sees_every_sample_lazily():
    for name in GOOD:
        lazy = datasrc.scan_polars(path_of(name)).collect()
        assert exact(column.to_list() for column in lazy) == exact(columns_of(name)), name
        assert isinstance(lazy, polars.DataFrame)
