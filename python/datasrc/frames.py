"""Data frames of pandas: their dictionary in `attrs`, and columns for other libraries."""

from __future__ import annotations

import json
from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

from datasrc import _core

if TYPE_CHECKING:
    import pandas
    import pyarrow

# The dictionary of a frame that was read: a text, since pandas copies attrs deeply, and a text need not be copied.
ATTRS_KEY = "datasrc.dictionary"

FILE_KEY, VARIABLE_KEY, EXTENSIONS_KEY = "datasrc.file", "datasrc.variable", "datasrc.extensions"


def _text_of(schema_metadata: Mapping[Any, bytes], fields: list[tuple[str, Mapping[Any, bytes]]]) -> str:
    """The metadata of a schema and of its fields as one text."""
    def plain(pairs: Mapping[Any, bytes]) -> dict[str, str]:
        texts = {(key.decode() if isinstance(key, bytes) else key): value.decode() for key, value in pairs.items()}
        return {key: text for key, text in texts.items() if key.startswith("datasrc.")}

    return json.dumps({"schema": plain(schema_metadata), "fields": {name: plain(pairs) for name, pairs in fields}},
                      ensure_ascii=False)


def _labels(variable: bytes) -> list[str]:
    """The labels of a variable's metadata in the order of the values, each once."""
    return list(dict.fromkeys(label for _, label in json.loads(variable)["value_labels"] or []))


def of_table(table: pyarrow.Table) -> pandas.DataFrame:
    """A frame of an Arrow table of ours."""
    import pandas

    frame = table.to_pandas(date_as_object=False)
    schema = table.schema
    if not table.num_rows:
        # No batch has brought the categories.
        for field in schema:
            if isinstance(frame[field.name].dtype, pandas.CategoricalDtype):
                frame[field.name] = frame[field.name].cat.set_categories(_labels(field.metadata[VARIABLE_KEY.encode()]))
    frame.attrs[ATTRS_KEY] = _text_of(schema.metadata or {}, [(f.name, f.metadata or {}) for f in schema])
    return frame


def of_columns(schema: _core.Schema, columns: list[list[Any]]) -> pandas.DataFrame:
    """The same without pyarrow: slower."""
    import pandas

    fields = schema.fields()
    series = {}
    for (name, format, values, metadata), column in zip(fields, columns):
        if values is not None:
            labels = list(dict.fromkeys(_labels(metadata[VARIABLE_KEY])
                                        + [value for value in column if value is not None]))
            series[name] = pandas.Series(pandas.Categorical(column, categories=labels))
        elif format == "g":
            series[name] = pandas.Series(column, dtype="float64")
        elif format == "tdD":
            series[name] = pandas.Series(pandas.array(column, dtype="datetime64[s]")).astype("datetime64[ms]")
        elif format.startswith("ts"):
            series[name] = pandas.Series(column, dtype="datetime64[us]")
        elif format == "tDu":
            series[name] = pandas.Series(column, dtype="timedelta64[us]")
        else:
            series[name] = pandas.Series(column, dtype="str")
    frame = pandas.DataFrame(series)
    frame.attrs[ATTRS_KEY] = _text_of(schema.metadata(), [(field[0], field[3]) for field in fields])
    return frame


def is_frame(data: object) -> bool:
    """Whether it is a frame of pandas. Nobody has one without pandas being imported."""
    kind = type(data)
    return any(base.__module__.partition(".")[0] == "pandas" and base.__name__ == "DataFrame" for base in kind.__mro__)


def is_polars(data: object) -> bool:
    return type(data).__module__.partition(".")[0] == "polars" and type(data).__name__ == "DataFrame"


def with_index(frame: pandas.DataFrame) -> pandas.DataFrame:
    """The frame with the named levels of its index as columns, the first ones. An index without a name is left out."""
    named = [level for level, name in enumerate(frame.index.names) if name is not None]
    return frame.reset_index(level=named) if named else frame
