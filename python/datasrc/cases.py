"""Cases of a file that are yet to be read."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator, Sequence
from operator import index
from typing import TYPE_CHECKING, Any

from datasrc import _core, frames
from datasrc.batch import Batch
from datasrc.extras import found, needed
from datasrc.progress import Progress, watching

if TYPE_CHECKING:
    import pandas
    import polars
    import pyarrow

    from datasrc.variables import Variables

_MOST_THREADS = 8
_FEW_ROWS = 50_000  # threads do not pay below
_MOST_ROWS = 2**62  # no file has so many


class Cases:
    """Columns and rows of a file, for every library that takes Arrow streams. Nothing is read before it is asked for.

    `datasrc.SystemFile.read` and `datasrc.read_split` make it. It can be read any number of times.

    Examples
    --------
    >>> cases = datasrc.open("penguins.quav").read(columns=["sex", "BodyMass"], rows=slice(0, 3), labels=True)
    >>> import pyarrow
    >>> pyarrow.table(cases).column("sex").to_pylist()
    ['male', 'female', 'female']
    """

    def __init__(self, open_cases: Callable[[_core.Scan, _core.Watch], _core.Cases], scan: _core.Scan, *, file: str,
                 total: int | None, progress: Progress) -> None:
        self._open = open_cases
        self._scan = scan
        self._file = file
        self._total = total
        self._progress = progress

    # ---- For libraries ----

    def __arrow_c_stream__(self, requested_schema: object | None = None) -> object:
        scan = self._scan if requested_schema is None else self._scan_for(requested_schema)
        progress = self._progress
        report = (lambda rows: progress(rows, self._total)) if callable(progress) else None
        return self._open(scan, _core.Watch(report, False, self._file)).capsule()

    def __arrow_c_schema__(self) -> object:
        return self._schema(self._scan).capsule()

    def _schema(self, scan: _core.Scan) -> _core.Schema:
        return self._open(scan, _core.Watch(None, True, self._file)).schema()

    def _schema_of_cases(self) -> _core.Schema:
        return self._schema(self._scan)

    def _scan_for(self, requested: object) -> _core.Scan:
        """The scan with or without labels and dates, if one of these has the types that a consumer wants."""
        wanted = [_types(field) for field in _core.Schema.fields_of(requested)]
        for change in (0, _core.LABELS, _core.TYPED_DATES, _core.LABELS | _core.TYPED_DATES):
            scan = _changed(self._scan, flags=self._scan.flags ^ change)
            if [_types(field) for field in self._schema(scan).fields()] == wanted:
                return scan
        return self._scan

    # ---- For people ----

    @property
    def columns(self) -> list[str]:
        """The names of the columns."""
        return [field[0] for field in self._schema(self._scan).fields()]

    def batches(self, rows: int | None = None) -> Iterator[Batch]:
        """Reads batches of at most so many rows.

        Examples
        --------
        >>> cases = datasrc.open("penguins.quav").read(columns=["BodyMass"])
        >>> [len(batch) for batch in cases.batches(100)]
        [100, 100, 100, 44]
        """
        scan = self._scan if rows is None else _changed(self._scan, rows_per_batch=_batch_rows(rows))
        with self._watching() as watch:
            yield from _batches(self._open(scan, watch))

    def __iter__(self) -> Iterator[Batch]:
        return self.batches()

    def to_pydict(self) -> dict[str, list[Any]]:
        """The values of each column by its name, without any other package.

        Examples
        --------
        >>> datasrc.open("penguins.quav").read(columns=["sex"], rows=slice(2, 5)).to_pydict()
        {'sex': ['FEMALE', '', 'FEMALE']}
        """
        with self._watching() as watch:
            opened = self._open(self._scan, watch)
            columns: list[tuple[str, list[Any]]] = [(field[0], []) for field in opened.schema().fields()]
            for batch in _batches(opened):
                for index, (_, values) in enumerate(columns):
                    values.extend(batch.column(index))
        return dict(columns)

    def to_arrow(self) -> pyarrow.Table:
        """Reads a `pyarrow.Table`."""
        pa = needed("pyarrow", "to_arrow")
        with self._watching() as watch:
            reader = pa.RecordBatchReader.from_stream(_Once(self._open(self._scan, watch)))
            return reader.read_all().unify_dictionaries()

    def to_pandas(self) -> pandas.DataFrame:
        """Reads a `pandas.DataFrame`. Its ``attrs`` have the dictionary, so that `datasrc.write` keeps it."""
        needed("pandas", "to_pandas")
        if found("pyarrow") is None:
            schema = self._schema(self._scan)
            return frames.of_columns(schema, [list(column) for column in self.to_pydict().values()])
        return frames.of_table(self.to_arrow())

    def to_polars(self) -> polars.DataFrame:
        """Reads a `polars.DataFrame`. It has no place for the dictionary: see ``like`` of `datasrc.write`."""
        pl = needed("polars", "to_polars")
        with self._watching() as watch:
            return pl.DataFrame(_Once(self._open(self._scan, watch)))

    def _watching(self) -> Any:
        return watching(self._progress, self._total, self._file, "read")

    def __repr__(self) -> str:
        columns = "all columns" if self._scan.columns is None else ", ".join(self._scan.columns)
        return f"<Cases of {self._file or 'a split'}: {columns}>"


def _batches(opened: _core.Cases) -> Iterator[Batch]:
    while (batch := opened.next()) is not None:
        yield Batch(batch)


class _Once:
    """A stream that is consumed once."""

    def __init__(self, cases: _core.Cases) -> None:
        self._cases = cases

    def __arrow_c_stream__(self, requested_schema: object | None = None) -> object:
        return self._cases.capsule()


def _types(field: tuple[str, str, str | None, object]) -> tuple[str, str, str | None]:
    return field[:3]


def _changed(scan: _core.Scan, **members: Any) -> _core.Scan:
    changed = _core.Scan()
    for name in ("columns", "first_row", "rows", "rows_per_batch", "flags", "threads"):
        setattr(changed, name, members.get(name, getattr(scan, name)))
    return changed


def _batch_rows(rows: int) -> int:
    if index(rows) < 1:
        raise ValueError("a batch must have at least one row")
    return min(index(rows), 2**31 - 1)


def _row_range(rows: slice | range | None, total: int | None) -> tuple[int, int]:
    """The first row and the number of rows, -1 for all that are left."""
    if rows is None:
        return 0, -1
    if not isinstance(rows, (slice, range)):
        raise TypeError("rows must be a slice or a range")
    if rows.step not in (None, 1):
        raise ValueError("the step of rows must be 1")
    first = 0 if rows.start is None else min(index(rows.start), _MOST_ROWS)
    end = None if rows.stop is None else min(index(rows.stop), _MOST_ROWS)
    if first < 0 or (end is not None and end < 0):
        if isinstance(rows, range):
            raise ValueError("a range of rows cannot have numbers below 0")
        if total is None:
            raise ValueError("rows cannot count from the end: the file does not say how many it has")
        first, end, _ = rows.indices(total)
    return first, -1 if end is None else max(end - first, 0)


def make_scan(variables: Variables | None, total: int | None, *, columns: Sequence[str] | None,
              rows: slice | range | None, labels: bool, dates: bool, user_missing: str,
              threads: int | None) -> tuple[_core.Scan, int | None]:
    """The scan for the arguments of a call, and how many rows it has, as far as it is known."""
    columns = columns if columns is None or isinstance(columns, str) else list(columns)
    if isinstance(columns, str) or any(not isinstance(name, str) for name in columns or []):
        raise TypeError("columns must be a list of names")
    if user_missing not in ("keep", "null"):
        raise ValueError('user_missing must be "keep" or "null"')
    scan = _core.Scan()
    if columns is not None:
        scan.columns = columns if variables is None else [variables[name].name for name in columns]
    scan.first_row, scan.rows = _row_range(rows, total)
    expected = None if total is None else max(total - scan.first_row, 0)
    if scan.rows >= 0:
        expected = scan.rows if expected is None else min(scan.rows, expected)
    scan.flags = ((_core.LABELS if labels else 0) | (_core.TYPED_DATES if dates else 0)
                  | (_core.USER_MISSING_AS_NULL if user_missing == "null" else 0))
    if threads is None:
        few = expected is not None and expected < _FEW_ROWS
        threads = 1 if few else min(len(os.sched_getaffinity(0)), _MOST_THREADS)
    scan.threads = index(threads)
    return scan, expected
