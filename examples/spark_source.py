"""System files as a data source of Spark: each split is a partition, which an executor reads as Arrow batches.

    python examples/spark_source.py examples/penguins.quav

needs Java, pyspark from version 4 on, and the package datasrc (pip install ./python) with pyarrow. On a cluster the
executors need the packages, too, and the file under the same path. A program registers the source, and reads by the name
of the source:

    spark.dataSource.register(SystemFileSource)
    spark.read.format("quav").option("labels", "true").load("survey.quav")

Options: labels and dates ("true"), encoding, and partitions: how many there are at most. A schema that the program gives
chooses the columns: .schema("sex string, BodyMass double").
"""

import os
import sys
from collections.abc import Iterator

import pyarrow
from pyspark.sql import SparkSession
from pyspark.sql.datasource import DataSource, DataSourceReader, InputPartition
from pyspark.sql.pandas.types import from_arrow_schema
from pyspark.sql.types import StructType

import datasrc


def without_dictionaries(schema: pyarrow.Schema) -> pyarrow.Schema:
    """The schema with texts in place of labels, which Spark has no type for, and without the dictionary of the file."""
    types = [field.type.value_type if pyarrow.types.is_dictionary(field.type) else field.type for field in schema]
    return pyarrow.schema(list(zip(schema.names, types)))


class SystemFileSource(DataSource):
    @classmethod
    def name(cls) -> str:
        return "quav"

    def schema(self) -> StructType:
        cases = self.open().read(**self.reading())
        return from_arrow_schema(without_dictionaries(pyarrow.schema(cases)))

    def reader(self, schema: StructType) -> "SystemFileReader":
        partitions = int(self.options.get("partitions", os.cpu_count() or 1))
        return SystemFileReader(self.open().splits(partitions), schema.names, self.reading())

    def open(self) -> datasrc.SystemFile:
        return datasrc.open(self.options["path"], encoding=self.options.get("encoding"))

    def reading(self) -> dict[str, bool]:
        return {name: self.options.get(name, "false").lower() == "true" for name in ("labels", "dates")}


class SystemFileReader(DataSourceReader):
    """Spark copies it to the executors, so it has no file, but tokens."""

    def __init__(self, tokens: list[str], columns: list[str], reading: dict[str, bool]) -> None:
        self.tokens = tokens
        self.columns = columns
        self.reading = reading

    def partitions(self) -> list[InputPartition]:
        return [InputPartition(token) for token in self.tokens]

    def read(self, partition: InputPartition) -> Iterator[pyarrow.RecordBatch]:
        cases = datasrc.read_split(partition.value, self.columns, **self.reading)
        schema = without_dictionaries(pyarrow.schema(cases))
        for batch in pyarrow.RecordBatchReader.from_stream(cases):
            yield batch.cast(schema)


if __name__ == "__main__":
    os.environ.setdefault("PYSPARK_PYTHON", sys.executable)  # for the executors
    spark = SparkSession.builder.master("local[2]").config("spark.ui.enabled", "false").getOrCreate()
    spark.dataSource.register(SystemFileSource)
    cases = spark.read.format("quav").option("labels", "true").load(os.path.abspath(sys.argv[1]))
    cases.printSchema()
    cases.groupBy("species").avg("BodyMass").orderBy("species").show()
    spark.stop()
