"""Splits, Dask, DuckDB and polars."""

import duckdb
import pandas
import polars
import pyarrow
import pytest
from expected import GOOD, columns_of, exact, path_of

import datasrc


@pytest.mark.parametrize("count", [1, 3, 8])
def test_the_splits_of_a_file_are_its_cases(count):
    for name in GOOD:
        tokens = datasrc.open(path_of(name)).splits(count)
        assert all(isinstance(token, str) for token in tokens) and len(tokens) <= count
        parts = [datasrc.read_split(token).to_pydict() for token in tokens]
        whole = [[value for part in parts for value in part[name]] for name in parts[0]]
        assert exact(whole) == exact(columns_of(name)), name


def test_parts_of_a_split(penguins, tmp_path):
    _, second = datasrc.open(penguins).splits(2)
    cases = datasrc.read_split(second, columns=["SEX"], rows=slice(1, 4), labels=True)
    wanted = datasrc.open(penguins).read(columns=["sex"], rows=slice(173, 176), labels=True)
    assert cases.to_arrow().to_pydict() == cases.to_pydict() == wanted.to_pydict()
    with pytest.raises(datasrc.Error, match="nobody"):
        datasrc.read_split(second, columns=["nobody"]).to_pydict()
    with pytest.raises(datasrc.FileMissingError):
        datasrc.read_split(second, path=tmp_path / "nobody").to_pydict()
    changed = tmp_path / "changed.quav"
    changed.write_bytes(penguins.read_bytes())
    with pytest.raises(datasrc.SplitError, match="changed"):
        datasrc.read_split(second, path=changed).to_pydict()
    for count in (0, -1, 65_537):
        with pytest.raises(ValueError):
            datasrc.open(penguins).splits(count)


# ---- DuckDB ----


def test_duckdb_finds_a_survey_by_its_name(penguins):
    survey = datasrc.open(penguins)
    query = "select sex, count(*) as n, avg(BodyMass) as mass from survey group by sex order by n desc"
    for _ in range(2):
        rows = duckdb.sql(query).fetchall()
        assert [(sex, n) for sex, n, _ in rows] == [("MALE", 168), ("FEMALE", 165), ("", 10), (".", 1)]
    assert duckdb.sql("select count(*) from survey a join survey b using (sex)").fetchall()[0][0] > 344
    labelled = survey.read(labels=True, columns=["species", "sex"])
    counts = duckdb.sql("select species, count(*) from labelled group by all order by all").fetchall()
    assert counts == [("Adelie", 152), ("Chinstrap", 68), ("Gentoo", 124)]


def test_duckdb_sees_a_failure_of_the_file():
    from conftest import SAMPLES

    survey = datasrc.open(SAMPLES / "bad" / "case_cut.quav")
    with pytest.raises(duckdb.Error, match="1205|ends too soon"):
        duckdb.sql("select * from survey").fetchall()


# ---- polars ----


@pytest.fixture
def lazy(penguins):
    return datasrc.scan_polars(penguins)


def test_a_lazy_frame_reads_what_is_needed(penguins, lazy, monkeypatch):
    asked = []
    batches = datasrc.SystemFile.batches
    monkeypatch.setattr(datasrc.SystemFile, "batches",
                        lambda self, size, columns, rows, **o: asked.append((columns, rows)) or batches(
                            self, size, columns, rows, **o))
    every = datasrc.open(penguins).to_polars()
    assert lazy.select("sex").head(5).collect().equals(every.select("sex").head(5))
    heavy = lazy.filter(polars.col("BodyMass") > 6000).select("species", "BodyMass").collect()
    assert heavy.equals(every.filter(polars.col("BodyMass") > 6000).select("species", "BodyMass"))
    assert asked[0] == (["sex"], slice(0, 5))
    assert set(asked[1][0]) == {"species", "BodyMass"}
    assert lazy.collect().equals(every)
    assert lazy.group_by("sex").len().sort("sex").collect().height == every["sex"].n_unique()
    assert lazy.select(polars.len()).collect().item() == 344
    assert lazy.tail(3).collect().equals(every.tail(3)) and lazy.slice(10, 5).collect().equals(every.slice(10, 5))
    assert lazy.filter(polars.col("sex") == "nobody").collect().height == 0
    assert lazy.head(7).filter(polars.col("BodyMass") > 3700).collect().equals(
        every.head(7).filter(polars.col("BodyMass") > 3700))
    assert lazy.filter(polars.col("BodyMass") > 3700).head(7).collect().equals(
        every.filter(polars.col("BodyMass") > 3700).head(7))


def test_a_lazy_frame_with_labels_and_dates(penguins, made):
    import datetime

    scan = datasrc.scan_polars(penguins, labels=True)
    found = scan.filter(polars.col("sex") == "female").select(polars.len()).collect().item()
    assert found == datasrc.open(penguins).to_arrow(labels=True)["sex"].to_pylist().count("female")
    datasrc.write({"d": [datetime.date(2024, 2, 29), None]}, made)
    assert datasrc.scan_polars(made, dates=True).collect_schema() == {"d": polars.Date}
    with pytest.raises(FileNotFoundError):
        datasrc.scan_polars("nobody.quav")


# ---- Dask ----


def test_dask_gives_the_same_on_two_processes(penguins, tmp_path):
    from dask.distributed import Client, LocalCluster

    frame = datasrc.open(penguins).to_pandas(labels=True)
    for part, name in ((frame[:200], "a"), (frame[200:], "b")):
        datasrc.write(part, tmp_path / f"{name}.quav")
    wanted = frame.groupby("species", observed=True)["BodyMass"].mean()
    collection = datasrc.dask.read(tmp_path / "*.quav", labels=True, partitions=3)
    assert collection.npartitions == 6
    with LocalCluster(n_workers=2, processes=True, threads_per_worker=1, dashboard_address=None) as cluster:
        with Client(cluster):
            query = collection.groupby("species", observed=True)["BodyMass"].mean()
            there = query.compute().sort_index()
            whole = collection.compute()
    here = query.compute(scheduler="sync").sort_index()
    assert there.equals(here)
    assert there.round(9).to_dict() == wanted.round(9).to_dict()
    assert whole["species"].astype(str).tolist() == frame["species"].astype(str).tolist()
    assert whole["BodyMass"].reset_index(drop=True).equals(frame["BodyMass"])


def test_dask_reads_the_columns_that_a_result_needs(penguins):
    from dask.dataframe.dask_expr.io import FromMapProjectable

    collection = datasrc.dask.read(penguins, partitions=2)
    query = collection["BodyMass"].sum().optimize(fuse=False)
    assert [source.columns for source in query.expr.find_operations(FromMapProjectable)] == [["BodyMass"]]
    assert collection["BodyMass"].sum().compute(scheduler="sync") == 1437000
    chosen = datasrc.dask.read(str(penguins), columns=["sex", "BodyMass"])
    assert list(chosen.columns) == ["sex", "BodyMass"] and chosen.npartitions == 1
    assert isinstance(chosen.head(2), pandas.DataFrame)


def test_dask_refuses_what_does_not_fit_together(penguins, made, tmp_path):
    datasrc.write({"a": [1]}, made)
    with pytest.raises(ValueError, match="columns of"):
        datasrc.dask.read([penguins, made])
    with pytest.raises(FileNotFoundError):
        datasrc.dask.read(tmp_path / "*.nothing")
    with pytest.raises(ValueError, match="no paths"):
        datasrc.dask.read([])


# ---- Without any of them ----


def test_without_pyarrow(penguins, made, monkeypatch):
    frame = datasrc.open(penguins).to_pandas(labels=True)
    datasrc.write({"d": pandas.to_datetime(["2024-02-29", None]), "t": pandas.to_timedelta(["1s", None])}, made)
    dated = datasrc.open(made).to_pandas(dates=True)
    import importlib

    real = importlib.import_module
    monkeypatch.setattr(importlib, "import_module", lambda name: real(name if name != "pyarrow" else "no_" + name))
    with pytest.raises(ImportError, match="pip install pyarrow"):
        datasrc.open(penguins).to_arrow()
    found = datasrc.open(penguins).to_pandas(labels=True)
    pandas.testing.assert_frame_equal(found, frame)
    assert found.attrs.keys() == frame.attrs.keys()
    pandas.testing.assert_frame_equal(datasrc.open(made).to_pandas(dates=True), dated)
    datasrc.write(found, made)
    pandas.testing.assert_frame_equal(datasrc.open(made).to_pandas(labels=True), frame)
    assert datasrc.open(made).variables["sex"].missing == ["."]
    assert pyarrow is not None
