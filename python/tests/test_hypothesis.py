"""Frames of any contents come back."""

import datetime
import tempfile
from pathlib import Path

import pandas
import pyarrow
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import datasrc

SYSTEM_MISSING = -1.7976931348623157e308  # stands for no value in a file
FEW = settings(max_examples=60, deadline=None, suppress_health_check=list(HealthCheck), derandomize=True)

numbers = st.floats(allow_nan=False, allow_infinity=False).filter(lambda value: value != SYSTEM_MISSING)
texts = st.text(st.characters(exclude_categories=["Cs"], exclude_characters="\0"), max_size=40)
days = st.dates(datetime.date(1582, 10, 14))
moments = st.datetimes(datetime.datetime(1600, 1, 1)).map(lambda moment: moment.replace(microsecond=0))
spans = st.integers(-10**9, 10**9).map(lambda seconds: datetime.timedelta(seconds=seconds))
words = st.sampled_from(["low", "mid \u00e4", "high"])
KINDS = [(numbers, None), (st.integers(-2**53, 2**53), None), (st.booleans(), None), (texts, ""), (days, None),
         (moments, None), (spans, None)]


@st.composite
def columns(draw):
    """Columns, and what stands for a missing value in each when it comes back."""
    rows = draw(st.integers(0, 12))
    chosen = draw(st.lists(st.sampled_from(range(len(KINDS))), min_size=1, max_size=6))
    data, missing = {}, {}
    for index, kind in enumerate(chosen):
        values, empty = KINDS[kind]
        name = f"v{index}_{draw(st.sampled_from(['a', 'B', 'ö']))}"
        data[name] = draw(st.lists(st.none() | values, min_size=rows, max_size=rows))
        missing[name] = empty
    return data, missing


def as_read(values, empty):
    def one(value):
        if value is None:
            return empty
        if isinstance(value, str):
            return value.rstrip(" ")
        return float(value) if isinstance(value, (bool, int, float)) else value

    present = [value for value in values if value is not None]
    return [one(value) for value in values] if present else None


def assert_same(given, missing, path, **options):
    found = datasrc.open(path).read(dates=True, **options).to_pydict()
    assert list(given) == list(found)
    for name, values in given.items():
        wanted = as_read(values, missing[name])
        if wanted is None:
            assert set(found[name]) <= {None, ""}
        else:
            assert wanted == found[name], name


@FEW
@given(columns())
def test_what_is_written_comes_back(drawn):
    data, missing = drawn
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder, "made.quav")
        for compress in ("none", "bytecode", "zlib"):
            datasrc.write(data, path, compress=compress, sync=False)
            assert_same(data, missing, path, threads=2)
        table = pyarrow.table(data)
        datasrc.write(table, path, sync=False)
        assert_same(data, missing, path)
        frame = datasrc.open(path).to_pandas(dates=True)
        datasrc.write(frame, path, sync=False)
        assert_same(data, missing, path)
        half = len(table) // 2
        datasrc.write(table.slice(0, half), path, sync=False, dictionary={"variables": [
            {"name": name, "type": 400} for name, values in data.items() if any(isinstance(v, str) for v in values)]})
        if all(not any(isinstance(v, str) for v in values) for values in data.values()):
            datasrc.append(path, table.slice(half))
            assert_same(data, missing, path)


@FEW
@given(st.lists(st.none() | words, max_size=10), st.booleans(), st.permutations(["low", "mid \u00e4", "high"]))
def test_categories_come_back(values, ordered, order):
    frame = pandas.DataFrame({"kind": pandas.Categorical(values, categories=order, ordered=ordered)})
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder, "made.quav")
        datasrc.write(frame, path, sync=False)
        survey = datasrc.open(path)
        assert list(survey.variables["kind"].value_labels.values()) == list(order)
        found = survey.to_pandas(labels=True)
        assert list(found["kind"].cat.categories) == list(order)
        assert [None if value != value else value for value in found["kind"]] == values
        datasrc.write(found, path, sync=False)
        assert datasrc.open(path).facts["variables"] == survey.facts["variables"]


@FEW
@given(st.dictionaries(st.floats(-1e6, 1e6).map(lambda value: round(value, 2)), texts.filter(lambda t: t.strip()),
                       max_size=5), st.sampled_from(["nominal", "ordinal", "scale"]), texts)
def test_dictionaries_come_back(labels, measure, label):
    wishes = {"value_labels": labels, "measure": measure, "label": label}
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder, "made.quav")
        datasrc.write({"a": [1.5]}, path, variables={"a": wishes}, sync=False)
        variable = datasrc.open(path).variables["a"]
        assert (labels, measure, label) == (variable.value_labels, variable.measure, variable.label or "")
