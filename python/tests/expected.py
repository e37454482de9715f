"""The expected cases of the sample files, and values that equal others only if a file would hold the same."""

import json
import math

from conftest import SAMPLES

GOOD = sorted(path.stem for path in SAMPLES.glob("*.quav"))
assert len(GOOD) > 10
SYSTEM_MISSING_NAMES = {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}


def path_of(name):
    return SAMPLES / f"{name}.quav"


def facts_of(name):
    return json.loads((SAMPLES / f"{name}.json").read_text(encoding="utf-8"))


def columns_of(name):
    """The columns of a sample: float, str, None."""
    kinds = [variable["type"] for variable in facts_of(name)["variables"]]
    lines = (SAMPLES / f"{name}.jsonl").read_text(encoding="utf-8").splitlines()
    rows = [json.loads(line) for line in lines]
    return [[row[k] if kind or row[k] is None else float(SYSTEM_MISSING_NAMES.get(row[k], row[k])) for row in rows]
            for k, kind in enumerate(kinds)]


def exact(columns, nan_is_missing=False):
    """Values by their digits, so that -0.0 is not 0.0, and NaN is NaN."""
    def one(value):
        if isinstance(value, float) and math.isnan(value):
            return None if nan_is_missing else "nan"
        return None if value is None else repr(value)

    return [[one(value) for value in column] for column in columns]
