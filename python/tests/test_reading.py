"""Columns, rows, dates, batches, streams."""

import datetime
import sys

import pandas
import polars
import pyarrow
import pytest

import datasrc

DAY, MOMENT = datetime.date(2024, 2, 29), datetime.datetime(2024, 2, 29, 12, 34, 56, 500000)
SPAN = datetime.timedelta(days=3, seconds=7)


@pytest.fixture
def survey(penguins):
    return datasrc.open(penguins)


@pytest.fixture
def dated(made):
    datasrc.write({"day": [DAY, None], "moment": [MOMENT, None], "span": [SPAN, None]}, made)
    return datasrc.open(made)


def test_columns_come_in_the_order_that_is_asked_for(survey):
    assert survey.read(columns=["SEX", "species"]).columns == ["sex", "species"]
    assert survey.read(columns=[]).columns == []
    assert len(survey.to_arrow(columns=[])) == 344
    with pytest.raises(KeyError, match="there is no variable nobody"):
        survey.read(columns=["nobody"])
    with pytest.raises(TypeError, match="list of names"):
        survey.read(columns="sex")


@pytest.mark.parametrize("rows", [slice(10, 20), slice(None, 3), slice(340, None), slice(400, None), slice(20, 10),
                                  slice(-5, None), slice(0, -340), range(3, 7), slice(0, 0), None])
def test_rows_are_those_of_a_slice(survey, rows):
    every = survey.read(columns=["BodyMass"]).to_pydict()["BodyMass"]
    wanted = every if rows is None else every[rows.start:rows.stop]
    assert survey.read(columns=["BodyMass"], rows=rows).to_pydict()["BodyMass"] == wanted


def test_cases_show_what_they_are_without_reading(survey):
    assert repr(survey.read()) == f"<Cases of {survey.path}: all columns>"
    assert repr(survey.read(columns=["SEX", "species"])).endswith(": sex, species>")
    assert repr(datasrc.read_split("no token")) == "<Cases of a split: all columns>"


def test_wrong_rows_are_errors(survey):
    for rows in (slice(0, 10, 2), slice(10, 0, -1), range(-3, 3)):
        with pytest.raises(ValueError):
            survey.read(rows=rows)
    with pytest.raises(TypeError):
        survey.read(rows=5)
    with pytest.raises(ValueError):
        survey.read(user_missing="drop")
    with pytest.raises(ValueError):
        next(survey.batches(0))


def test_user_missing_values_become_null(survey):
    kept = survey.read(columns=["sex"]).to_pydict()["sex"]
    nulls = survey.read(columns=["sex"], user_missing="null").to_pydict()["sex"]
    assert "." in kept
    assert nulls == [None if value == "." else value for value in kept]


def test_dates_are_those_of_every_library(dated):
    assert dated.read(dates=True).to_pydict() == {"day": [DAY, None], "moment": [MOMENT, None], "span": [SPAN, None]}
    table = dated.to_arrow(dates=True)
    assert table.schema.types == [pyarrow.date32(), pyarrow.timestamp("us"), pyarrow.duration("us")]
    frame = dated.to_pandas(dates=True)
    assert [dtype.kind for dtype in frame.dtypes] == ["M", "M", "m"]
    assert frame["day"][0] == pandas.Timestamp(DAY) and frame["moment"][0] == MOMENT and frame["span"][0] == SPAN
    assert frame.isna().sum().tolist() == [1, 1, 1]
    assert dated.to_polars(dates=True).dtypes == [polars.Date, polars.Datetime("us"), polars.Duration("us")]
    assert dated.variables["day"].is_date and dated.variables["span"].is_time
    assert isinstance(dated.read().to_pydict()["day"][0], float)


def test_a_value_that_is_no_date_says_what_to_do(made):
    datasrc.write({"day": [1.3e10]}, made, variables={"day": {"format": (20, 11, 0)}})
    survey = datasrc.open(made)
    for read in (survey.to_arrow, survey.to_pandas, survey.to_polars, lambda dates: list(survey.batches(dates=dates))):
        with pytest.raises(datasrc.DataError, match="variable day in case 0.*dates=True") as caught:
            read(dates=True)
        assert caught.value.file == str(made)
    assert survey.read().to_pydict() == {"day": [1.3e10]}


def test_a_stream_can_be_asked_for_again(survey):
    cases = survey.read(columns=["sex"])
    assert pyarrow.table(cases).equals(pyarrow.table(cases))
    assert pyarrow.schema(cases).names == ["sex"]
    assert pyarrow.schema(survey).metadata[b"datasrc.file"]
    survey.close()
    assert survey.closed
    with pytest.raises(ValueError, match="closed"):
        pyarrow.table(survey)


def test_a_requested_schema_is_honoured_where_it_can_be(survey, dated):
    plain, labels = survey.to_arrow(), survey.to_arrow(labels=True)
    for given, wanted in ((survey.read(), labels), (survey.read(labels=True), plain)):
        reader = pyarrow.RecordBatchReader.from_stream(_Requesting(given, wanted.schema))
        assert reader.schema.types == wanted.schema.types
    reader = pyarrow.RecordBatchReader.from_stream(_Requesting(dated.read(), dated.to_arrow(dates=True).schema))
    assert reader.schema.types[0] == pyarrow.date32()
    other = pyarrow.schema([("sex", pyarrow.int8())])  # a consumer has to look what it got
    reader = pyarrow.RecordBatchReader.from_stream(_Requesting(survey.read(columns=["sex"]), other))
    assert reader.schema.types == [pyarrow.string()]


class _Requesting:
    def __init__(self, cases, schema):
        self.cases, self.schema = cases, schema

    def __arrow_c_stream__(self, requested_schema=None):
        return self.cases.__arrow_c_stream__(self.schema.__arrow_c_schema__())


def test_cases_are_read_once_from_a_capsule(survey):
    capsule = survey.__arrow_c_stream__()
    once = type("Once", (), {"__arrow_c_stream__": lambda self, requested_schema=None: capsule})()
    assert len(pyarrow.table(once)) == 344
    with pytest.raises(TypeError, match="taken already"):
        datasrc.write(once, "/dev/null")


def test_a_capsule_that_nobody_takes_is_released(survey):
    for _ in range(100):
        survey.__arrow_c_stream__()
        survey.__arrow_c_schema__()
        next(survey.batches(10)).__arrow_c_array__()


def test_batches_outlive_their_file(penguins):
    with datasrc.open(penguins) as survey:
        batch = next(survey.batches(5, columns=["species", "sex"], labels=True))
    del survey
    assert batch.to_pydict()["sex"] == ["male", "female", "female", "", "female"]
    assert batch.columns == ["species", "sex"] and "5 rows" in repr(batch)
    table = pyarrow.table(batch.to_arrow().to_pydict())
    del batch
    assert table.column("species").to_pylist() == ["Adelie"] * 5


def test_batches_stop_early(survey):
    for _ in range(3):
        assert len(next(survey.batches(7))) == 7


def test_threads_give_the_same_cases(survey):
    wanted = survey.to_arrow(threads=1)
    for threads in (2, 5):
        assert survey.to_arrow(threads=threads).equals(wanted)
        assert sum(len(batch) for batch in survey.read(threads=threads).batches(10)) == 344


def test_a_file_that_does_not_know_its_length(tmp_path):
    from expected import path_of

    survey = datasrc.open(path_of("count_unknown"))
    assert survey.rows is None and survey
    assert "unknown number" in repr(survey)
    with pytest.raises(TypeError):
        len(survey)
    with pytest.raises(ValueError, match="count from the end"):
        survey.read(rows=slice(-2, None))
    assert len(survey.to_arrow(rows=slice(1, None))) > 0


@pytest.mark.parametrize("arguments", [
    {"rows": slice(1.5, 3)}, {"rows": slice(0, "3")}, {"threads": 1.5}, {"columns": [None]}, {"columns": [1]},
])
def test_arguments_of_a_wrong_type_are_type_errors(survey, arguments):
    with pytest.raises(TypeError, match="columns must be a list of names|integer"):
        survey.read(**arguments)


def test_batches_have_whole_numbers_of_rows(survey):
    with pytest.raises(TypeError, match="integer"):
        list(survey.batches(1.5))


def test_rows_may_end_far_beyond_the_file(survey):
    everything = survey.read().to_pydict()
    assert survey.read(rows=slice(None, 10**30)).to_pydict() == everything
    assert [*survey.read(rows=slice(10**30, None)).to_pydict().values()] == [[] for _ in everything]


def test_the_facts_of_variables():
    from expected import path_of

    survey = datasrc.open(path_of("metadata"))
    assert survey.attributes["Author"] == ["A. Nyman", "B. \u00d6berg"]
    assert survey.documents[0]["date"] == "2021-03-05"
    assert survey.weight in survey.variables
    mixed = datasrc.open(path_of("mixed_little_none"))
    ranges = [m for v in mixed.variables.values() for m in v.missing if isinstance(m, datasrc.MissingRange)]
    assert ranges[0] == (90.0, 99.0)
    variable = mixed.variables[0]
    assert variable == mixed.variables[variable.name.upper()] and variable in mixed.variables.values()
    assert variable.facts["name"] == variable.name and variable.name in repr(variable)
    assert "<table>" in variable._repr_html_()
    assert str(variable.write_format)
    assert {v.role for v in survey.variables.values()} >= {"input", "target"}
    assert mixed.variables.get("nobody") is None and 3 not in mixed.variables


def test_text_in_html_is_escaped(made):
    datasrc.write({"a": [1]}, made, variables={"a": {"label": "<b>&"}}, label="<i>")
    shown = datasrc.open(made)._repr_html_()
    assert "&lt;b&gt;&amp;" in shown and "<i>" not in shown


def test_nothing_else_is_imported(penguins, made):
    import subprocess

    code = ("import sys, datasrc; s = datasrc.open(sys.argv[1]); s.read(labels=True).to_pydict(); repr(s);"
            "datasrc.write({'a': [1.5]}, sys.argv[2]);"
            "print([m for m in ('numpy', 'pyarrow', 'pandas', 'polars', 'duckdb', 'dask') if m in sys.modules])")
    result = subprocess.run([sys.executable, "-c", code, penguins, made], capture_output=True, text=True)
    assert (result.stdout, result.stderr) == ("[]\n", "")
