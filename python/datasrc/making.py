"""Arrow columns of sequences of Python values, without any other package."""

from __future__ import annotations

import datetime
import decimal
import math
from array import array
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import Any, NamedTuple

from datasrc import _core
from datasrc.errors import DataError

_EPOCH = datetime.datetime(1970, 1, 1)
_EPOCH_DAY = datetime.date(1970, 1, 1).toordinal()
_MICROSECOND = datetime.timedelta(microseconds=1)
_MISSING_KINDS = ("NAType", "NaTType")  # of pandas


class _Column(NamedTuple):
    """A column for `_core.made_stream`."""

    name: str
    format: str
    nulls: int
    buffers: list[bytes | None]


def made_stream(data: Mapping[Any, Iterable[Any]]) -> object:
    """A capsule of an Arrow stream of one batch."""
    columns = {str(name): _values(values) for name, values in data.items()}
    if len(columns) != len(data):
        raise DataError("two columns have the same name")
    lengths = {len(values) for values in columns.values()}
    if len(lengths) > 1:
        raise ValueError("the columns are not of the same length")
    made = [_column(name, values) for name, values in columns.items()]
    return _core.made_stream(made, max(lengths, default=0))


def _values(given: Iterable[Any]) -> list[Any]:
    if isinstance(given, (str, bytes)):
        raise TypeError("a column is a sequence of values, and no text")
    # A time of numpy may be finer than those of Python: `tolist` makes an integer of it.
    has_times = getattr(getattr(given, "dtype", None), "kind", "") in ("m", "M") and not hasattr(given, "index")
    values = given.tolist() if hasattr(given, "tolist") and not has_times else map(_plain, given)
    return [None if _is_missing(value) else value for value in values]


def _plain(value: Any) -> Any:
    """The value of Python for a number or a time of numpy; any other as it is."""
    if type(value).__module__ != "numpy" or not hasattr(value, "item"):
        return value
    plain = value.item()
    if value.dtype.kind not in ("m", "M") or not isinstance(plain, int):
        return plain
    microseconds = value.astype(f"{value.dtype.kind}8[us]")
    plain = microseconds.item()
    if microseconds != value or isinstance(plain, int):
        raise DataError(f"the time {value} is finer than a microsecond, or in a year that Python does not have")
    return plain


def _is_missing(value: Any) -> bool:
    return (value is None or (isinstance(value, (float, decimal.Decimal)) and math.isnan(value))
            or type(value).__name__ in _MISSING_KINDS)


def _column(name: str, values: list[Any]) -> _Column:
    present = [value for value in values if value is not None]
    if not present:
        return _Column(name, "n", len(values), [])
    format, make = _maker(name, present)
    return _Column(name, format, len(values) - len(present), [_bits(values), *make(name, values)])


def _bits(values: Sequence[Any]) -> bytes | None:
    """A bit for each value, the lowest first: whether it is there."""
    if None not in values:
        return None
    bits = bytearray((len(values) + 7) // 8)
    for row, value in enumerate(values):
        if value is not None:
            bits[row // 8] |= 1 << row % 8
    return bytes(bits)


class _UnfitError(Exception):
    """Why a value cannot be stored: a predicate of a sentence about it."""


def _unfit(name: str, row: int, value: Any, reason: object) -> DataError:
    # As the library says it of values that arrive in a stream.
    return DataError(f'the value "{value}" of the column {name} in row {row} {reason}')


_Maker = Callable[[str, list[Any]], list[bytes]]


def _maker(name: str, present: Sequence[Any]) -> tuple[str, _Maker]:
    """The Arrow type for values, and what makes its buffers of the name and the values of the column."""
    if _all(present, str):
        return "U", _texts
    if _all(present, (bool, int)):
        if all(-(2**63) <= value < 2**63 for value in present):
            return "l", _numbers("q", int)
        return "g", _numbers("d", _exact_float)
    if _all(present, (bool, int, float, decimal.Decimal)):
        return "g", _numbers("d", _exact_float)
    if _all(present, datetime.datetime):
        if all(value.tzinfo is None for value in present):
            return "tsu:", _numbers("q", _microseconds)
        return f"tsu:{_zone(present[0])}", _numbers("q", _utc_microseconds)
    if _all(present, datetime.date):
        if any(isinstance(value, datetime.datetime) for value in present):
            return "tsu:", _numbers("q", _microseconds)
        return "tdD", _numbers("i", lambda day: day.toordinal() - _EPOCH_DAY)
    if _all(present, datetime.timedelta):
        return "tDu", _numbers("q", lambda span: span // _MICROSECOND)
    if _all(present, datetime.time):
        return "ttu", _numbers("q", _time_of_day)
    kinds = sorted({type(value).__name__ for value in present})
    raise DataError(f"the column {name} has values of {' and '.join(kinds)}, which no variable holds together")


def _all(values: Iterable[Any], kind: type | tuple[type, ...]) -> bool:
    return all(isinstance(value, kind) for value in values)


def _numbers(code: str, convert: Callable[[Any], Any]) -> _Maker:
    def make(name: str, values: list[Any]) -> list[bytes]:
        numbers = array(code)
        for row, value in enumerate(values):
            try:
                numbers.append(0 if value is None else convert(value))
            except _UnfitError as reason:
                raise _unfit(name, row, value, reason) from None
            except OverflowError:
                raise _unfit(name, row, value, "is too large") from None
        return [numbers.tobytes()]

    return make


def _texts(name: str, values: list[Any]) -> list[bytes]:
    texts = []
    for row, value in enumerate(values):
        try:
            texts.append(b"" if value is None else value.encode())
        except UnicodeEncodeError:
            raise _unfit(name, row, ascii(value)[1:-1], "is not Unicode") from None
    ends = array("q", [0])
    for text in texts:
        ends.append(ends[-1] + len(text))
    return [ends.tobytes(), b"".join(texts)]


def _exact_float(value: Any) -> float:
    number = float(value)
    same = decimal.Decimal(repr(number)) == value if isinstance(value, decimal.Decimal) else number == value
    if not same:
        raise _UnfitError("cannot be a number of a system file without loss")
    return number


def _microseconds(moment: datetime.date) -> int:
    if not isinstance(moment, datetime.datetime):
        moment = datetime.datetime.combine(moment, datetime.time())
    if getattr(moment, "nanosecond", 0):
        raise _UnfitError("is finer than a microsecond")
    return (moment.replace(tzinfo=None) - _EPOCH) // _MICROSECOND


def _utc_microseconds(moment: datetime.datetime) -> int:
    if moment.tzinfo is None:
        raise _UnfitError("has no zone, and others have one")
    return _microseconds(moment.astimezone(datetime.timezone.utc))


def _zone(moment: datetime.datetime) -> str:
    """The zone of a column. Its times are in UTC; the library warns of any other zone."""
    offset = moment.strftime("%z")
    return "UTC" if offset in ("", "+0000") else f"{offset[:3]}:{offset[3:5]}"


def _time_of_day(time: datetime.time) -> int:
    return ((time.hour * 60 + time.minute) * 60 + time.second) * 1_000_000 + time.microsecond
