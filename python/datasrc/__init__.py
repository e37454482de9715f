"""System files of a statistics package, to and from data frames.

>>> import datasrc
>>> survey = datasrc.open("penguins.quav")
>>> survey.rows, survey.label
(344, 'Penguins of the Palmer Archipelago')
>>> survey.variables["sex"].value_labels
{'MALE': 'male', 'FEMALE': 'female'}
>>> frame = survey.to_pandas(columns=["species", "BodyMass"], labels=True)
>>> datasrc.write(frame, "out.quav")
344
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any

from datasrc._core import __version__
from datasrc.batch import Batch
from datasrc.cases import Cases
from datasrc.errors import (
    DataError,
    Error,
    FileAccessError,
    FileIsFolderError,
    FileMissingError,
    PasswordError,
    SplitError,
    Warning,
)
from datasrc.file import SystemFile, open
from datasrc.polars import scan_polars
from datasrc.splits import read_split
from datasrc.variables import Format, MissingRange, Variable, Variables
from datasrc.writing import append, write

if TYPE_CHECKING:
    from datasrc import dask

__all__ = [
    "Batch", "Cases", "DataError", "Error", "FileAccessError", "FileIsFolderError", "FileMissingError", "Format",
    "MissingRange", "PasswordError", "SplitError", "SystemFile", "Variable", "Variables", "Warning", "__version__",
    "append", "dask", "open", "read_split", "scan_polars", "write",
]


def __getattr__(name: str) -> Any:
    # A module of its own, because it imports Dask.
    if name == "dask":
        return importlib.import_module("datasrc.dask")
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
