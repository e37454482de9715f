"""A batch of cases."""

from __future__ import annotations

import datetime
from collections.abc import Callable
from typing import Any

from datasrc import _core
from datasrc.extras import needed

_EPOCH = datetime.datetime(1970, 1, 1)
_EPOCH_DAY = datetime.date(1970, 1, 1).toordinal()


def _converter(format: str) -> Callable[[Any], Any] | None:
    """What makes the value for Python of a number of an Arrow type; None if that is the value."""
    if format == "tdD":
        return lambda days: datetime.date.fromordinal(_EPOCH_DAY + days)
    if format.startswith("ts"):
        return lambda microseconds: _EPOCH + datetime.timedelta(microseconds=microseconds)
    if format == "tDu":
        return lambda microseconds: datetime.timedelta(microseconds=microseconds)
    return None


class Batch:
    """Some rows of some columns. Every library that speaks Arrow takes it.

    Examples
    --------
    >>> survey = datasrc.open("penguins.quav")
    >>> for batch in survey.batches(200, columns=["sex"], labels=True):
    ...     print(len(batch), batch.to_pydict()["sex"][:2])
    200 ['male', 'female']
    144 ['male', 'female']
    """

    def __init__(self, inner: _core.Batch) -> None:
        self._inner = inner

    @property
    def columns(self) -> list[str]:
        """The names of the columns."""
        return [field[0] for field in self._inner.schema().fields()]

    def __len__(self) -> int:
        return self._inner.rows()

    def column(self, index: int) -> list[Any]:
        """The values of a column: float, str, None for missing; with ``dates=True`` those of `datetime`."""
        values = self._inner.values(index)
        convert = _converter(self._inner.schema().fields()[index][1])
        return values if convert is None else [None if value is None else convert(value) for value in values]

    def to_pydict(self) -> dict[str, list[Any]]:
        """The values of each column by its name."""
        return {name: self.column(index) for index, name in enumerate(self.columns)}

    def to_arrow(self) -> Any:
        """A `pyarrow.RecordBatch`."""
        return needed("pyarrow", "to_arrow").record_batch(self)

    def __arrow_c_schema__(self) -> object:
        return self._inner.schema().capsule()

    def __arrow_c_array__(self, requested_schema: object | None = None) -> tuple[object, object]:
        return self._inner.schema().capsule(), self._inner.capsule()

    def __repr__(self) -> str:
        return f"<Batch of {len(self)} rows: {', '.join(self.columns)}>"
