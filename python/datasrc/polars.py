"""Lazy frames of polars."""

from __future__ import annotations

from collections.abc import Iterator
from typing import TYPE_CHECKING, Any

from datasrc.extras import needed
from datasrc.file import SystemFile
from datasrc.file import open as open_file
from datasrc.paths import Password, PathLike, Secret

if TYPE_CHECKING:
    import polars


def scan_polars(file: PathLike | SystemFile, *, password: Password = None, encoding: str | None = None,
                labels: bool = False, dates: bool = False, user_missing: str = "keep",
                threads: int | None = None) -> polars.LazyFrame:
    """Makes a lazy frame of a file. Only the columns and rows that a query needs are read.

    Columns and a limit of rows go to the reader. Conditions are applied to each batch as it comes.

    Parameters
    ----------
    file : path or SystemFile
        The file.
    password, encoding
        As in `datasrc.open`, for a path.
    labels, dates, user_missing, threads
        As in `datasrc.SystemFile.read`.

    Examples
    --------
    >>> import polars
    >>> penguins = datasrc.scan_polars("penguins.quav", labels=True)
    >>> penguins.filter(polars.col("BodyMass") > 6000).select("species").collect()["species"].to_list()
    ['Gentoo', 'Gentoo']
    """
    pl = needed("polars", "scan_polars")
    plugins = needed("polars.io.plugins", "scan_polars")
    secret = Secret(password)
    if not isinstance(file, SystemFile):
        survey = open_file(file, password=secret.reveal(), encoding=encoding)
    elif encoding is None and not secret:
        survey = file
    else:
        raise ValueError("a file that is open takes no password and no encoding")
    options: dict[str, Any] = {"labels": labels, "dates": dates, "user_missing": user_missing, "threads": threads}

    def frames(columns: list[str] | None, predicate: polars.Expr | None, rows: int | None,
               batch_rows: int | None) -> Iterator[polars.DataFrame]:
        chosen = None if rows is None else slice(0, rows)
        for batch in survey.batches(batch_rows, columns, chosen, **options):
            frame = pl.DataFrame(batch)
            yield frame if predicate is None else frame.filter(predicate)

    schema = pl.DataFrame(survey.read(rows=slice(0, 0), **options)).schema
    return plugins.register_io_source(frames, schema=schema)
