"""The variables of a file."""

from __future__ import annotations

import math
from collections.abc import Iterator, Mapping, Sequence
from typing import Any, NamedTuple

from datasrc import show

MEASURES = ("unknown", "nominal", "ordinal", "scale")
ROLES = ("input", "target", "both", "none", "partition", "split")
ALIGNMENTS = ("left", "right", "center")
FORMATS = {
    1: "text", 2: "hex text", 3: "comma", 4: "dollar", 5: "number", 17: "scientific", 20: "date", 21: "time",
    22: "date and time", 23: "date, month first", 24: "day of year", 25: "days and time", 26: "weekday", 27: "month",
    28: "month and year", 29: "quarter and year", 30: "week and year", 31: "percent", 32: "dot", 33: "currency A",
    34: "currency B", 35: "currency C", 36: "currency D", 37: "currency E", 38: "date, day first",
    39: "date, year first",
}
# Those that show a date (and a time of day), and those that show a time.
DATE_FORMATS = frozenset({20, 22, 23, 24, 28, 29, 30, 38, 39})
TIME_FORMATS = frozenset({21, 25})


class Format(NamedTuple):
    """How values are shown: the number of the type, the width in columns, the decimals.

    Examples
    --------
    >>> str(datasrc.Format(5, 8, 2))
    'number 8.2'
    """

    type: int
    width: int
    decimals: int = 0

    @property
    def name(self) -> str:
        """The type in words."""
        return FORMATS.get(self.type, f"type {self.type}")

    def __str__(self) -> str:
        return f"{self.name} {self.width}" + (f".{self.decimals}" if self.decimals else "")


class MissingRange(NamedTuple):
    """A range of missing values, ends included. An open end is infinite."""

    low: float
    high: float


_NUMBERS = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}
_ENDS = {"lowest": -math.inf, "highest": math.inf}


def _value(value: Any, is_text: bool) -> Any:
    if is_text or value is None:
        return value
    return float(_NUMBERS.get(value, value))


class Variable:
    """A variable of a file.

    Examples
    --------
    >>> variable = datasrc.open("penguins.quav").variables["BodyMass"]
    >>> variable.label, variable.type, variable.measure
    ('Body mass (g)', 'number', 'scale')
    """

    __slots__ = ("_facts",)

    def __init__(self, facts: Mapping[str, Any]) -> None:
        self._facts = facts

    @property
    def facts(self) -> dict[str, Any]:
        """All that is known of the variable, in the form of ``datasrc info --json``."""
        return dict(self._facts)

    @property
    def name(self) -> str:
        return self._facts["name"]

    @property
    def label(self) -> str | None:
        return self._facts["label"]

    @property
    def is_text(self) -> bool:
        return self._facts["type"] != 0

    @property
    def type(self) -> str:
        """``"number"`` or ``"text"``."""
        return "text" if self.is_text else "number"

    @property
    def width(self) -> int:
        """The most bytes of a text in UTF-8; 0 for a number."""
        return self._facts["type"]

    @property
    def format(self) -> Format:
        """How values are printed."""
        return Format(*self._facts["print"])

    @property
    def write_format(self) -> Format:
        """How values are written as text."""
        return Format(*self._facts["write"])

    @property
    def is_date(self) -> bool:
        """Whether ``dates=True`` makes dates, or dates and times of day, of the values."""
        return not self.is_text and self.format.type in DATE_FORMATS

    @property
    def is_time(self) -> bool:
        """Whether ``dates=True`` makes durations of the values."""
        return not self.is_text and self.format.type in TIME_FORMATS

    @property
    def missing(self) -> list[Any]:
        """The user-missing values: single ones, and a `MissingRange`."""
        code, values = self._facts["missing"]["code"], self._facts["missing"]["values"]
        if code >= 0:
            return [_value(value, self.is_text) for value in values]
        low, high = (_ENDS[end] if end in _ENDS else _value(end, False) for end in values[:2])
        return [MissingRange(low, high), *(_value(value, False) for value in values[2:])]

    @property
    def value_labels(self) -> dict[Any, str]:
        """Labels by their values, in the order of the file."""
        return {_value(value, self.is_text): label for value, label in self._facts["value_labels"] or []}

    @property
    def measure(self) -> str:
        """``"unknown"``, ``"nominal"``, ``"ordinal"`` or ``"scale"``."""
        return _word(MEASURES, self._facts["measure"])

    @property
    def role(self) -> str:
        """``"input"``, ``"target"``, ``"both"``, ``"none"``, ``"partition"`` or ``"split"``."""
        return _word(ROLES, self._facts["role"])

    @property
    def alignment(self) -> str:
        """``"left"``, ``"right"`` or ``"center"``."""
        return _word(ALIGNMENTS, self._facts["alignment"])

    @property
    def display_width(self) -> int:
        """The columns that a data editor shows."""
        return self._facts["display_width"]

    @property
    def attributes(self) -> dict[str, list[str]]:
        """The texts of each attribute."""
        return dict(self._facts["attributes"])

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Variable) and self._facts == other._facts

    __hash__ = None  # type: ignore[assignment]

    def _rows(self) -> list[tuple[str, str]]:
        rows = [("label", self.label or ""), ("type", self.type + (f" {self.width}" if self.is_text else "")),
                ("format", str(self.format)), ("measure", self.measure), ("role", self.role)]
        if self.missing:
            rows.append(("missing", ", ".join(map(_shown, self.missing))))
        rows += [("attribute " + name, ", ".join(texts)) for name, texts in self.attributes.items()]
        return rows + [("= " + _shown(value), label) for value, label in self.value_labels.items()]

    def __repr__(self) -> str:
        return show.text_table([(self.name, ""), *self._rows()])

    def _repr_html_(self) -> str:
        return show.html_table(("", self.name), self._rows())


def _word(words: Sequence[str], number: int) -> str:
    return words[number] if 0 <= number < len(words) else str(number)


def _shown(value: Any) -> str:
    if isinstance(value, MissingRange):
        return f"{_shown(value.low)} to {_shown(value.high)}"
    if value is None:
        return "system-missing"
    if isinstance(value, str):
        return value
    if math.isinf(value):
        return "lowest" if value < 0 else "highest"
    return f"{value:.15g}"


class Variables(Mapping[str, Variable]):
    """The variables of a file by name, in their order. Case does not count; a number is a position.

    Examples
    --------
    >>> variables = datasrc.open("penguins.quav").variables
    >>> list(variables)[:2], variables["SEX"].name, variables[0].name
    (['species', 'island'], 'sex', 'species')
    """

    def __init__(self, facts: Sequence[Mapping[str, Any]]) -> None:
        self._list = [Variable(each) for each in facts]
        self._by_name = {variable.name: variable for variable in self._list}
        self._by_upper = {variable.name.upper(): variable for variable in self._list}

    def __getitem__(self, key: str | int) -> Variable:
        if isinstance(key, int):
            return self._list[key]
        found = self._by_name.get(key) or self._by_upper.get(key.upper())
        if found is None:
            raise KeyError(f"there is no variable {key}")
        return found

    def __iter__(self) -> Iterator[str]:
        return iter(self._by_name)

    def __len__(self) -> int:
        return len(self._list)

    def __contains__(self, key: object) -> bool:
        return isinstance(key, str) and (key in self._by_name or key.upper() in self._by_upper)

    def _table(self, most: int) -> tuple[tuple[str, ...], list[tuple[str, ...]], int]:
        rows: list[tuple[str, ...]] = [
            (v.name, v.label or "", v.type + (f" {v.width}" if v.is_text else ""), str(v.format), v.measure,
             str(len(v.value_labels) or "")) for v in self._list[:most]]
        return ("name", "label", "type", "format", "measure", "labels"), rows, len(self._list) - len(rows)

    def __repr__(self) -> str:
        head, rows, left = self._table(show.MOST_ROWS)
        return show.text_table([head, *rows]) + show.more(left)

    def _repr_html_(self) -> str:
        head, rows, left = self._table(show.MOST_ROWS)
        return show.html_table(head, rows) + show.more(left)
