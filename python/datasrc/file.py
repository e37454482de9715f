"""Files that are open for reading."""

from __future__ import annotations

import json
import os
from collections.abc import Iterator, Sequence
from typing import TYPE_CHECKING, Any

from datasrc import _core, show
from datasrc.batch import Batch
from datasrc.cases import Cases, make_scan
from datasrc.paths import Password, PathLike, Secret, encoding_bytes, path_bytes
from datasrc.progress import Progress
from datasrc.variables import Variables

if TYPE_CHECKING:
    import pandas
    import polars
    import pyarrow


def open(path: PathLike, *, password: Password = None, encoding: str | None = None) -> SystemFile:
    """Opens a system file and reads its dictionary, but no case.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file.
    password : str or bytes, optional
        For an encrypted file.
    encoding : str, optional
        The encoding of the file's text, such as ``"windows-1252"`` or ``"utf-8"``, for a file that states a wrong one
        or none. By default what the file states. The text of the dictionary, of the cases and of the splits is taken to
        be in it.

    Returns
    -------
    SystemFile

    Raises
    ------
    datasrc.Error
        If the file cannot be opened or is damaged. It is a `FileNotFoundError`, `PermissionError` or
        `IsADirectoryError`, too, where these fit, and a `datasrc.PasswordError` for a wrong password. An encoding that
        is not known, or that no file can have, is a `ValueError`, too.

    Examples
    --------
    >>> survey = datasrc.open("penguins.quav")
    >>> survey.rows
    344
    """
    encoded = path_bytes(path)
    file = _core.File(encoded, Secret(password).reveal(), encoding_bytes(encoding), 0)
    return SystemFile(file, os.fsdecode(encoded))


class SystemFile:
    """A system file. `datasrc.open` makes it.

    It has ``__arrow_c_stream__``, so every library that takes Arrow streams takes the file itself for all of its cases:

    >>> survey = datasrc.open("penguins.quav")
    >>> import pyarrow
    >>> pyarrow.table(survey).num_rows
    344

    What was read from it stays usable after it is closed. It closes itself at the end of a ``with``, or when nobody
    refers to it.
    """

    def __init__(self, file: _core.File, path: str) -> None:
        self._file = file
        self._path = path
        self._facts: dict[str, Any] = json.loads(file.dictionary())
        self._variables = Variables(self._facts["variables"])

    # ---- The dictionary ----

    @property
    def path(self) -> str:
        return self._path

    @property
    def rows(self) -> int | None:
        """The number of cases that the file says; None if it does not."""
        return self._facts["cases"]

    @property
    def variables(self) -> Variables:
        """The variables by name, in their order."""
        return self._variables

    @property
    def columns(self) -> list[str]:
        """The names of the variables."""
        return list(self._variables)

    @property
    def label(self) -> str | None:
        return self._facts["label"] or None

    @property
    def documents(self) -> list[dict[str, Any]]:
        """Texts about the data, each with its date and its lines."""
        return self._facts["documents"]

    @property
    def attributes(self) -> dict[str, list[str]]:
        """The texts of each attribute of the file."""
        return dict(self._facts["attributes"])

    @property
    def weight(self) -> str | None:
        """The name of the variable that weights the cases."""
        return self._facts["weight"]

    @property
    def encoding(self) -> str:
        """The encoding that the file's text is taken to be in. All that the package gives is `str`."""
        return self._facts["encoding"]

    @property
    def compression(self) -> str:
        """``"none"``, ``"bytecode"`` or ``"zlib"``."""
        return self._facts["compression"]

    @property
    def encrypted(self) -> bool:
        return self._facts["encrypted"]

    @property
    def facts(self) -> dict[str, Any]:
        """All that is known of the file: what ``datasrc info --json`` prints."""
        return dict(self._facts)

    # ---- Cases ----

    def read(self, columns: Sequence[str] | None = None, rows: slice | range | None = None, *, labels: bool = False,
             dates: bool = False, user_missing: str = "keep", threads: int | None = None,
             progress: Progress = None) -> Cases:
        """Chooses cases. They are read when another library takes them, or by a method of the result.

        Parameters
        ----------
        columns : sequence of str, optional
            The names of variables, in the order that is wanted. Case does not count. By default all.
        rows : slice or range, optional
            By default all.
        labels : bool
            Whether a variable with value labels gives a categorical of its labels, in the order of the values. A value
            without a label stands for itself.
        dates : bool
            Whether variables with date formats give dates, those with times of day dates and times, and those with time
            formats durations, instead of seconds. Reading fails at a value that these types cannot hold.
        user_missing : {"keep", "null"}
            Whether user-missing values stay values.
        threads : int, optional
            How many threads decode. By default all that the process may use, at most 8; one for small files.
        progress : callable or True, optional
            A function of the rows that were read and the number of rows, or None where it is unknown. An exception that
            it raises ends the reading. True shows a bar of tqdm.

        Returns
        -------
        Cases

        Examples
        --------
        >>> survey = datasrc.open("penguins.quav")
        >>> survey.read(columns=["species", "sex"], rows=slice(150, 152), labels=True).to_pydict()
        {'species': ['Adelie', 'Adelie'], 'sex': ['female', 'male']}
        """
        scan, total = make_scan(self._variables, self.rows, columns=columns, rows=rows, labels=labels, dates=dates,
                                user_missing=user_missing, threads=threads)
        return Cases(self._file.read, scan, file=self._path, total=total, progress=progress)

    def to_arrow(self, columns: Sequence[str] | None = None, rows: slice | range | None = None,
                 **options: Any) -> pyarrow.Table:
        """Reads a `pyarrow.Table`. The arguments are those of `read`.

        Examples
        --------
        >>> datasrc.open("penguins.quav").to_arrow(columns=["BodyMass"]).column(0)[0].as_py()
        3750.0
        """
        return self.read(columns, rows, **options).to_arrow()

    def to_pandas(self, columns: Sequence[str] | None = None, rows: slice | range | None = None,
                  **options: Any) -> pandas.DataFrame:
        """Reads a `pandas.DataFrame`. The arguments are those of `read`. Dates become ``datetime64``.

        The frame's ``attrs`` have the dictionary, so that `datasrc.write` keeps it.

        Examples
        --------
        >>> frame = datasrc.open("penguins.quav").to_pandas(labels=True)
        >>> frame.groupby("species", observed=True)["BodyMass"].mean().round(1).to_dict()
        {'Adelie': 3700.7, 'Chinstrap': 3733.1, 'Gentoo': 5076.0}
        """
        return self.read(columns, rows, **options).to_pandas()

    def to_polars(self, columns: Sequence[str] | None = None, rows: slice | range | None = None,
                  **options: Any) -> polars.DataFrame:
        """Reads a `polars.DataFrame`. The arguments are those of `read`.

        Examples
        --------
        >>> datasrc.open("penguins.quav").to_polars(columns=["sex"]).height
        344
        """
        return self.read(columns, rows, **options).to_polars()

    def batches(self, size: int | None = None, columns: Sequence[str] | None = None,
                rows: slice | range | None = None, **options: Any) -> Iterator[Batch]:
        """Reads batches of at most ``size`` rows. The other arguments are those of `read`.

        Examples
        --------
        >>> [len(batch) for batch in datasrc.open("penguins.quav").batches(150)]
        [150, 150, 44]
        """
        return self.read(columns, rows, **options).batches(size)

    def splits(self, count: int) -> list[str]:
        """Divides the file into at most ``count`` stretches of about the same work.

        Each is described by a token, which `datasrc.read_split` opens, also in another process or on another machine. A
        token has the path of the file, but no password. Making the splits of a compressed file passes over it once.

        Examples
        --------
        >>> tokens = datasrc.open("penguins.quav").splits(2)
        >>> [len(datasrc.read_split(token).to_arrow()) for token in tokens]
        [172, 172]
        """
        return self._file.splits(count)

    def __arrow_c_stream__(self, requested_schema: object | None = None) -> object:
        return self.read().__arrow_c_stream__(requested_schema)

    def __arrow_c_schema__(self) -> object:
        return self.read().__arrow_c_schema__()

    # ---- The object ----

    def close(self) -> None:
        """Closes the file. The dictionary stays."""
        self._file.close()

    @property
    def closed(self) -> bool:
        return self._file.is_closed()

    def __enter__(self) -> SystemFile:
        return self

    def __exit__(self, *reason: object) -> None:
        self.close()

    def __len__(self) -> int:
        if self.rows is None:
            raise TypeError("the file does not say how many cases it has")
        return self.rows

    def __bool__(self) -> bool:
        return True

    def _title(self) -> str:
        count = "an unknown number of" if self.rows is None else f"{self.rows:,}"
        return f"{self._path}: {count} cases, {len(self._variables)} variables"

    def __repr__(self) -> str:
        title = self._title() + (f"\n{self.label}" if self.label else "")
        return f"{title}\n{self._variables!r}" if len(self._variables) else title

    def _repr_html_(self) -> str:
        title = show.html_table((self._title(),), [(self.label,)] if self.label else [])
        return title + self._variables._repr_html_()
