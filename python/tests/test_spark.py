"""The data source of Spark in examples/. It is tested where there is Java, and pyspark from version 4 on."""

import importlib.util
import os
import shutil
import subprocess
import sys

import pytest
from conftest import ROOT, SAMPLES

import datasrc

EXAMPLE = ROOT / "examples" / "spark_source.py"

if shutil.which("java") is None:
    pytest.skip("the source of Spark is not tested: there is no Java", allow_module_level=True)
if importlib.util.find_spec("pyspark") is None:
    pytest.skip("the source of Spark is not tested: there is no pyspark (pip install pyspark)", allow_module_level=True)


@pytest.fixture(scope="module")
def read():
    """What reads a file by Spark: the source of the example on two executors."""
    from pyspark.sql import SparkSession

    with pytest.MonkeyPatch.context() as patch:
        patch.setenv("PYSPARK_PYTHON", sys.executable)
        patch.setenv("PYTHONPATH", str(EXAMPLE.parent), prepend=os.pathsep)  # the executors import the example
        patch.syspath_prepend(EXAMPLE.parent)
        import spark_source

        spark = SparkSession.builder.master("local[2]").config("spark.ui.enabled", "false").getOrCreate()
        spark.dataSource.register(spark_source.SystemFileSource)
        yield lambda path, **options: spark.read.format("quav").options(**options).load(str(path))
        spark.stop()


@pytest.mark.parametrize("name, labels", [("penguins", True), ("cp1252", False)])
def test_the_rows_are_those_of_the_file(read, name, labels):
    path = SAMPLES / f"{name}.quav"
    frame = read(path, labels=str(labels).lower(), partitions="3")
    wanted = datasrc.open(path).to_arrow(labels=labels)
    assert frame.columns == wanted.column_names
    assert [tuple(row) for row in frame.collect()] == list(zip(*(column.to_pylist() for column in wanted.columns)))


def test_a_partition_is_a_split(read, penguins):
    assert read(penguins, partitions="4").rdd.getNumPartitions() == len(datasrc.open(penguins).splits(4)) == 4


def test_the_schema_chooses_columns(read, penguins):
    from pyspark.sql import SparkSession

    frame = (SparkSession.active().read.format("quav").schema("BodyMass double, sex string").load(str(penguins)))
    wanted = datasrc.open(penguins).read(columns=["BodyMass", "sex"]).to_pydict()
    assert [tuple(row) for row in frame.collect()] == list(zip(*wanted.values()))


def test_dates_and_the_encoding_are_options(read, made):
    import datetime

    day = datetime.date(2024, 2, 29)
    datasrc.write({"day": [day, None], "text": ["\u00e4", "b"]}, made)
    rows = read(made, dates="true", encoding="windows-1252").collect()
    assert [tuple(row) for row in rows] == [(day, "\u00c3\u00a4"), (None, "b")]


def test_the_example_runs(penguins):
    done = subprocess.run([sys.executable, EXAMPLE, penguins], capture_output=True, text=True,
                          env={**os.environ, "PYSPARK_PYTHON": sys.executable})
    assert done.returncode == 0, done.stderr
    assert "|   Gentoo|" in done.stdout and "5076.01" in done.stdout
