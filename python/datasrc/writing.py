"""New files, and more cases for old ones."""

from __future__ import annotations

import json
from collections.abc import Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any

from datasrc import _core, frames
from datasrc.cases import Cases
from datasrc.describing import (
    documents_of,
    facts_of_categories,
    holds_categories,
    pairs_of,
    variable_facts,
    wishes_json,
)
from datasrc.errors import DataError, warn_of
from datasrc.extras import found
from datasrc.file import SystemFile
from datasrc.making import made_stream
from datasrc.paths import Password, PathLike, Secret, encoding_bytes, path_bytes
from datasrc.progress import Progress, watching

if TYPE_CHECKING:
    import pandas

_COMPRESSIONS = {None: 0, "none": 0, "bytecode": 1, "zlib": 2}
_STREAM_ROWS = 65_536  # so that Ctrl-C and progress have a turn

# A name with whether the categories have an order, and the categories.
_Categories = Iterator[tuple[str, bool, Sequence[Any]]]


def write(data: Any, path: PathLike, *, variables: Mapping[str, Mapping[str, Any]] | None = None,
          label: str | None = None, weight: str | None = None, documents: Any = None,
          attributes: Mapping[str, Any] | None = None, dictionary: Mapping[str, Any] | None = None,
          like: SystemFile | Cases | None = None, compress: str | None = "bytecode", encrypt: Password = None,
          categories: str = "labels", round_times: bool = False, sync: bool = True,
          progress: Progress = None) -> int:
    """Makes a system file. It gets its name when it is complete; after a failure an old file is as it was.

    Parameters
    ----------
    data : pandas.DataFrame, polars.DataFrame, anything with ``__arrow_c_stream__``, or a mapping of sequences
        The cases. A missing value is None, NaN, NA or NaT; in a text it becomes an empty one. The dictionary that came
        with a frame or table of this package is kept, as far as it fits. Named levels of the index of a pandas frame
        become variables, an index without a name does not.
    path : path
        The file.
    variables : mapping, optional
        More for the dictionary: by the name of a column a mapping of ``label``, ``value_labels``, ``missing``,
        ``measure``, ``role``, ``format``, ``width``, ``alignment``, ``display_width`` or ``attributes``, in the form
        that `datasrc.Variable` has them.
    label, weight, documents, attributes : optional
        Of the file. ``documents`` is a text, or a list as in `datasrc.SystemFile.documents`.
    dictionary : mapping, optional
        The same in the form of ``datasrc info --json``, any member of which may be missing; the arguments above go
        before it.
    like : SystemFile or Cases, optional
        Whose dictionary to keep, for data that have no place for it, such as frames of polars.
    compress : {"bytecode", "zlib", "none"}
    encrypt : str or bytes, optional
        A password.
    categories : {"labels", "text"}
        Whether columns of categories that have no labels in the dictionary become numbers from 1 with these labels, or
        texts.
    round_times : bool
        Stores the nearest number of a time that no number is; without it such a time is an error.
    sync : bool
        Waits until the file is on the disk.
    progress : callable or True, optional
        As in `datasrc.SystemFile.read`.

    Returns
    -------
    int
        The number of cases.

    Raises
    ------
    datasrc.DataError
        If a value would be changed; the text names its column and row.
    datasrc.Error
        If the file cannot be made. It is a `FileNotFoundError`, `PermissionError` or `IsADirectoryError`, too, where
        these fit: an old file that may not be written is not replaced.

    Examples
    --------
    >>> datasrc.write({"name": ["Ann", "Bob"], "age": [31, None]}, "people.quav",
    ...               variables={"age": {"label": "Age in years", "measure": "scale"}})
    2
    >>> datasrc.open("people.quav").read().to_pydict()
    {'name': ['Ann', 'Bob'], 'age': [31.0, None]}
    """
    if compress not in _COMPRESSIONS:
        raise ValueError('compress must be "bytecode", "zlib" or "none"')
    if categories not in ("labels", "text"):
        raise ValueError('categories must be "labels" or "text"')
    carried = _Carried.of(data, like)
    found_categories = _categories_of(data) if categories == "labels" else iter(())
    wishes = _wishes(carried, found_categories, variables, dictionary)
    members = {"label": label, "weight": weight,
               "documents": None if documents is None else documents_of(documents),
               "attributes": None if attributes is None else pairs_of(attributes)}
    wishes.update({key: value for key, value in members.items() if value is not None})
    flags = (_core.ROUND_TIMES if round_times else 0) | (0 if sync else _core.NO_SYNC)
    encoded = path_bytes(path)
    with watching(progress, _length(data), "", "write") as watch:
        stream = carried.described(_stream_of(data))
        rows, notes = _core.write(stream, encoded, wishes_json(wishes), Secret(encrypt).reveal(),
                                  _COMPRESSIONS[compress], flags, watch)
    warn_of(notes)
    return rows


def append(path: PathLike, data: Any, *, password: Password = None, encoding: str | None = None,
           round_times: bool = False, progress: Progress = None) -> int:
    """Adds cases to a system file. Nothing is added unless all fit.

    Parameters
    ----------
    path : path
        The file.
    data : as in `datasrc.write`
        A column for each variable, in any order.
    password : str or bytes, optional
        For an encrypted file.
    encoding : str, optional
        The encoding of the file's text, if it is not the one that the file states. The new text is stored in it.
    round_times, progress
        As in `datasrc.write`.

    Returns
    -------
    int
        The number of cases that were added.

    Examples
    --------
    >>> datasrc.write({"age": [31, 42]}, "people.quav")
    2
    >>> datasrc.append("people.quav", {"age": [53]})
    1
    >>> len(datasrc.open("people.quav"))
    3
    """
    with watching(progress, _length(data), "", "append") as watch:
        rows, notes = _core.append(_stream_of(data), path_bytes(path), Secret(password).reveal(),
                                   encoding_bytes(encoding), _core.ROUND_TIMES if round_times else 0, watch)
    warn_of(notes)
    return rows


# ---- Data ----


def _length(data: Any) -> int | None:
    if frames.is_frame(data) or frames.is_polars(data) or hasattr(data, "num_rows"):
        return len(data)
    return None


def _stream_of(data: Any) -> object:
    """A capsule of the data as an Arrow stream."""
    if frames.is_frame(data):
        return _stream_of_frame(frames.with_index(data))
    if isinstance(data, Mapping):
        return made_stream(data)
    if hasattr(data, "to_reader") and hasattr(data, "num_rows"):
        return data.to_reader(max_chunksize=_STREAM_ROWS).__arrow_c_stream__()
    if hasattr(data, "__arrow_c_stream__"):
        return data.__arrow_c_stream__()
    if hasattr(data, "__arrow_c_array__"):
        return _core.stream_of_array(*data.__arrow_c_array__())
    raise TypeError(f"{type(data).__name__} is no frame, no mapping of sequences, and has no __arrow_c_stream__")


def _stream_of_frame(frame: pandas.DataFrame) -> object:
    names = [str(name) for name in frame.columns]
    twice = next((name for name in names if names.count(name) > 1), None) if len(set(names)) < len(names) else None
    if twice is not None:
        raise DataError(f"two columns have the name {twice}")
    kinds = {name: type(dtype).__name__ for name, dtype in zip(frame.columns, frame.dtypes)}
    for name, kind in kinds.items():
        if kind in ("PeriodDtype", "IntervalDtype"):
            raise DataError(f"the column {name} has values of {frame[name].dtype}, which no variable holds")
    sparse = {name: frame[name].dtype.subtype for name, kind in kinds.items() if kind == "SparseDtype"}
    if sparse:
        frame = frame.astype(sparse)
    pa = found("pyarrow")
    if pa is None:
        return made_stream({name: frame.iloc[:, index] for index, name in enumerate(names)})
    try:
        table = pa.Table.from_pandas(frame, preserve_index=False)
    except (pa.ArrowException, TypeError, ValueError, OverflowError) as error:
        raise DataError(str(error)) from None
    return _stream_of(table)


# ---- Dictionaries ----


class _Carried:
    """The dictionary that comes with data, as Arrow metadata of the schema and of its fields by name."""

    def __init__(self, schema: Mapping[str, str], fields: Mapping[str, Mapping[str, str]]) -> None:
        self._schema = dict(schema)
        self._fields = {name: dict(pairs) for name, pairs in fields.items() if pairs}

    @classmethod
    def of(cls, data: Any, like: SystemFile | Cases | None) -> _Carried:
        if like is not None:
            schema = (like.read() if isinstance(like, SystemFile) else like)._schema_of_cases()
            fields = {name: _decoded(pairs) for name, _, _, pairs in schema.fields()}
            return cls(_decoded(schema.metadata()), fields)
        if frames.is_frame(data) and isinstance(text := data.attrs.get(frames.ATTRS_KEY), str):
            carried = json.loads(text)
            return cls(carried["schema"], carried["fields"])
        return cls({}, {})

    def variable(self, name: str) -> dict[str, Any]:
        return json.loads(self._fields.get(name, {}).get(frames.VARIABLE_KEY, "{}"))

    def described(self, stream: object) -> object:
        """The stream with the metadata. A stream that brings its own keeps them where there is nothing to say."""
        if not self._schema and not self._fields:
            return stream
        return _core.described(stream, self._schema, self._fields)


def _decoded(pairs: Mapping[str, bytes]) -> dict[str, str]:
    return {key: value.decode() for key, value in pairs.items()}


def _categories_of(data: Any) -> _Categories:
    if frames.is_frame(data):
        for name, dtype in data.dtypes.items():
            if hasattr(dtype, "categories") and type(dtype).__name__ == "CategoricalDtype":
                yield str(name), bool(dtype.ordered), list(dtype.categories)
    elif frames.is_polars(data):
        for name, dtype in data.schema.items():
            if type(dtype).__name__ == "Enum":
                yield name, True, dtype.categories.to_list()
            elif type(dtype).__name__ == "Categorical":
                yield name, False, data[name].unique(maintain_order=True).drop_nulls().to_list()


def _wishes(carried: _Carried, categories: _Categories, variables: Mapping[str, Mapping[str, Any]] | None,
            dictionary: Mapping[str, Any] | None) -> dict[str, Any]:
    """The dictionary that the caller wants, with the labels of categories."""
    wishes = dict(dictionary or {})
    wanted: dict[str, dict[str, Any]] = {each["name"]: dict(each) for each in wishes.get("variables") or []}
    for name, given in (variables or {}).items():
        wanted[name] = {**wanted.get(name, {}), **variable_facts(name, given)}
    for name, ordered, texts in categories:
        facts = facts_of_categories(texts, ordered)
        known = {**carried.variable(name), **wanted.get(name, {})}
        if facts is not None and not wanted.get(name, {}).get("value_labels") and not holds_categories(known, texts):
            wanted[name] = {"name": name, **facts, **wanted.get(name, {})}
    if wanted:
        wishes["variables"] = list(wanted.values())
    return wishes
