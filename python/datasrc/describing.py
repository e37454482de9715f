"""The dictionary of a new file: what the caller wishes, in the form of ``datasrc info --json``."""

from __future__ import annotations

import datetime
import json
import math
from collections.abc import Iterable, Mapping, Sequence
from typing import Any

from datasrc.variables import ALIGNMENTS, MEASURES, ROLES, MissingRange

_MOST_LABEL_BYTES = 255


def wishes_json(wishes: Mapping[str, Any]) -> bytes | None:
    if not wishes:
        return None
    return json.dumps(wishes, ensure_ascii=False, default=_plain).encode()


def _plain(value: Any) -> Any:
    """Numbers of numpy."""
    if hasattr(value, "item"):
        return value.item()
    raise TypeError(f"a dictionary has no {type(value).__name__}")


def _number(value: Any) -> Any:
    """A number as JSON has it."""
    if isinstance(value, str):
        return value
    value = float(value)
    if math.isnan(value):
        return "NaN"
    return value if math.isfinite(value) else "Infinity" if value > 0 else "-Infinity"


def _code(words: Sequence[str], value: Any, member: str) -> int:
    if isinstance(value, int):
        return value
    if value not in words:
        raise ValueError(f"{member} is one of {', '.join(words)}")
    return words.index(value)


def _missing(values: Any) -> dict[str, Any]:
    if isinstance(values, Mapping):
        return dict(values)
    ranges = [value for value in values if isinstance(value, (MissingRange, tuple))]
    single = [_number(value) for value in values if not isinstance(value, (MissingRange, tuple))]
    if not ranges:
        return {"code": len(single), "values": single}
    if len(ranges) > 1 or len(single) > 1:
        raise ValueError("missing values are up to three values, or a range and a value")
    low, high = ranges[0]
    ends = ["lowest" if low == -math.inf else _number(low), "highest" if high == math.inf else _number(high)]
    return {"code": -2 - len(single), "values": ends + single}


def _labels(labels: Any) -> Any:
    return [[_number(value), label] for value, label in labels.items()] if isinstance(labels, Mapping) else labels


def pairs_of(attributes: Any) -> Any:
    """Attributes as JSON has them. One text may stand for a list of it."""
    if not isinstance(attributes, Mapping):
        return attributes
    return [[name, [texts] if isinstance(texts, str) else list(texts)] for name, texts in attributes.items()]


def documents_of(documents: Any) -> list[dict[str, Any]]:
    if isinstance(documents, str):
        return [{"date": datetime.date.today().isoformat(), "lines": documents.splitlines()}]
    return list(documents)


_MEMBERS = {
    "label": lambda label: label,
    "type": lambda type: {"number": 0}.get(type, type),
    "print": lambda format: list(format),
    "write": lambda format: list(format),
    "missing": _missing,
    "value_labels": _labels,
    "measure": lambda measure: _code(MEASURES, measure, "measure"),
    "display_width": lambda width: width,
    "alignment": lambda alignment: _code(ALIGNMENTS, alignment, "alignment"),
    "role": lambda role: _code(ROLES, role, "role"),
    "attributes": pairs_of,
}


def variable_facts(name: str, wishes: Mapping[str, Any]) -> dict[str, Any]:
    """The facts of a variable, from members as `datasrc.Variable` has them or as JSON has them."""
    given = {key: value for key, value in wishes.items() if key != "name"}
    if "format" in given:
        given["print"] = given["write"] = given.pop("format")
    if "width" in given:
        given["type"] = given.pop("width")
    unknown = sorted(set(given) - set(_MEMBERS))
    if unknown:
        raise ValueError(f"a variable has no {unknown[0]}; it has format, width, {', '.join(_MEMBERS)}")
    facts = {"name": name, **{key: _MEMBERS[key](value) for key, value in given.items()}}
    labels = facts.get("value_labels")
    if labels and "type" not in facts and not any(isinstance(value, str) for value, _ in labels):
        facts["type"] = 0  # a column of texts becomes one of numbers
    return facts


def facts_of_categories(categories: Iterable[Any], ordered: bool) -> dict[str, Any] | None:
    """The facts of a variable that counts categories from 1 and has them as labels; None if they cannot be labels."""
    labels = list(categories)
    if not labels or not all(isinstance(label, str) for label in labels):
        return None
    if any(not label or label != label.rstrip(" ") or "\0" in label or len(label.encode()) > _MOST_LABEL_BYTES
           for label in labels):
        return None
    return {"type": 0, "print": [5, 8, 0], "write": [5, 8, 0], "measure": 2 if ordered else 1,
            "value_labels": [[number, label] for number, label in enumerate(labels, 1)]}


def holds_categories(variable: Mapping[str, Any], categories: Iterable[Any]) -> bool:
    """Whether texts are labels of a variable, or values of it."""
    if not variable.get("value_labels"):
        return False
    labels = {label for _, label in variable["value_labels"]}
    return all(category in labels or variable["type"] != 0 or _is_number(category) for category in categories)


def _is_number(text: Any) -> bool:
    try:
        float(text)
    except (TypeError, ValueError):
        return False
    return True
