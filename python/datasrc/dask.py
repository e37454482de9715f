"""Dask collections of system files: a partition for each split.

Examples
--------
>>> frame = datasrc.dask.read("penguins.quav", partitions=2)
>>> frame.npartitions, int(frame["BodyMass"].count().compute(scheduler="sync"))
(2, 342)
"""

from __future__ import annotations

import glob
import os
from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from datasrc.errors import FileMissingError
from datasrc.extras import needed
from datasrc.file import open as open_file
from datasrc.paths import Password, PathLike, Secret
from datasrc.splits import read_split

if TYPE_CHECKING:
    import dask.dataframe
    import pandas

_PARTITION_BYTES = 64 << 20


class _ReadPartition:
    """Reads the split of a token. Workers get a copy of it. The argument `columns` lets Dask choose them."""

    def __init__(self, names: Sequence[str], secret: Secret, options: dict[str, Any]) -> None:
        self._names = list(names)
        self._secret = secret
        self._options = options

    def __call__(self, token: str, columns: Sequence[str] | None = None) -> pandas.DataFrame:
        chosen = self._names if columns is None else columns
        return read_split(token, chosen, password=self._secret.reveal(), **self._options).to_pandas()


def _paths(paths: PathLike | Sequence[PathLike]) -> list[str]:
    listed = [paths] if isinstance(paths, (str, bytes, os.PathLike)) else paths
    found: list[str] = []
    for path in map(os.fsdecode, listed):
        # A path that is there is itself, whatever characters it has.
        matches = [path] if os.path.exists(path) or not glob.has_magic(path) else sorted(glob.glob(path))
        if not matches:
            raise FileMissingError("no file has a name of this pattern", file=path)
        found += matches
    return found


def read(paths: PathLike | Sequence[PathLike], columns: Sequence[str] | None = None, *,
         partitions: int | None = None, password: Password = None, encoding: str | None = None, labels: bool = False,
         dates: bool = False, user_missing: str = "keep") -> dask.dataframe.DataFrame:
    """Makes a Dask data frame of one file or of many files with the same columns.

    Workers open the splits of the files, so they need the files under the same paths. A scheduler sees the tokens of
    the splits and, for encrypted files, the password.

    Parameters
    ----------
    paths : path, pattern or list of these
        Such as ``"data/*.quav"``.
    columns : sequence of str, optional
        As in `datasrc.SystemFile.read`. Dask itself leaves out columns that a result does not need.
    partitions : int, optional
        How many splits a file is divided into, at most. By default one for each 64 MiB.
    password : str or bytes, optional
        Of all files.
    encoding : str, optional
        Of the text of all files, as in `datasrc.open`.
    labels, dates, user_missing
        As in `datasrc.SystemFile.read`.

    Examples
    --------
    >>> frame = datasrc.dask.read("penguins.quav", labels=True, partitions=3)
    >>> frame.groupby("species", observed=True)["BodyMass"].max().compute(scheduler="sync").to_dict()
    {'Adelie': 4775.0, 'Chinstrap': 4800.0, 'Gentoo': 6300.0}
    """
    dd = needed("dask.dataframe", "datasrc.dask")
    secret = Secret(password)
    options = {"labels": labels, "dates": dates, "user_missing": user_missing}
    tokens: list[str] = []
    meta = None
    for path in _paths(paths):
        with open_file(path, password=secret.reveal(), encoding=encoding) as file:
            empty = file.to_pandas(columns, rows=slice(0, 0), **options)
            if meta is None:
                meta = empty
            elif list(empty.columns) != list(meta.columns):
                raise ValueError(f"the columns of {path} are not those of the first file")
            tokens += file.splits(partitions or max(1, -(-os.path.getsize(path) // _PARTITION_BYTES)))
    if meta is None:
        raise ValueError("there are no paths")
    if labels:
        from dask.dataframe.utils import clear_known_categories

        # A split may have values without labels, which become categories of its own.
        meta = clear_known_categories(meta)
    return dd.from_map(_ReadPartition(meta.columns, secret, options), tokens, meta=meta, label="datasrc")
