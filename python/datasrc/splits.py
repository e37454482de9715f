"""Stretches of files, which any process opens."""

from __future__ import annotations

from collections.abc import Sequence
from functools import partial

from datasrc import _core
from datasrc.cases import Cases, make_scan
from datasrc.paths import Password, PathLike, Secret, path_bytes
from datasrc.progress import Progress


def _open(token: bytes, secret: Secret, path: bytes | None, scan: _core.Scan, watch: _core.Watch) -> _core.Cases:
    return _core.read_split(token, secret.reveal(), path, scan, watch)


def read_split(token: str, columns: Sequence[str] | None = None, rows: slice | range | None = None, *,
               password: Password = None, path: PathLike | None = None, labels: bool = False, dates: bool = False,
               user_missing: str = "keep", threads: int | None = 1, progress: Progress = None) -> Cases:
    """Chooses cases of a split that `datasrc.SystemFile.splits` made.

    Parameters
    ----------
    token : str
        The token. The cases of all tokens, in their order, are those of the file.
    password : str or bytes, optional
        For an encrypted file.
    path : path, optional
        Where the file is on this machine, unless it is where the token says.
    columns, rows, labels, dates, user_missing, threads, progress
        As in `datasrc.SystemFile.read`. Rows count from the first one of the split.

    Raises
    ------
    datasrc.SplitError
        If the token is damaged or the file has changed. The file is opened when the cases are read.

    Examples
    --------
    >>> first, second = datasrc.open("penguins.quav").splits(2)
    >>> datasrc.read_split(second, columns=["species"], rows=slice(0, 2), labels=True).to_pydict()
    {'species': ['Chinstrap', 'Chinstrap']}
    """
    scan, total = make_scan(None, None, columns=columns, rows=rows, labels=labels, dates=dates,
                            user_missing=user_missing, threads=threads)
    opener = partial(_open, token.encode(), Secret(password), None if path is None else path_bytes(path))
    return Cases(opener, scan, file="", total=total, progress=progress)
