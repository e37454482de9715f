"""The exceptions and the warning of the package."""

from __future__ import annotations

import errno
import os
import re
import warnings
from typing import Any

# What a function of the C interface returns (datasrc/c_api.h).
_CATALOG, _ARGUMENT, _MEMORY, _OTHER, _SPLIT, _DATA = range(1, 7)

_CANNOT_OPEN = 1201
_PASSWORD_NUMBERS = (1213, 1214)
_TIMES_HINT = ": read without dates=True, or other columns"
_TICKS = re.compile(r'/\d+ s( since 1970)?" of the column')  # how the library writes a time that no number is
_ROUND_HINT = ": round_times=True stores the nearest number of a time"


class Error(Exception):
    """A failure of the library.

    Attributes
    ----------
    number : int
        The number in the library's message catalog, for example 1205 for a file that ends too soon; 0 without one.
    text : str
        What is wrong, without the name of the file.
    file : str
        The file that the error concerns, or an empty text.
    place : str
        Where in the file the dictionary is wrong, for example ``"record 7/13, byte 1234"``, or an empty text.

    Examples
    --------
    >>> try:
    ...     datasrc.open("nobody.quav")
    ... except datasrc.Error as error:
    ...     print(error.number, error.file)
    1201 nobody.quav
    """

    def __init__(self, text: str, *, number: int = 0, file: str = "", place: str = "") -> None:
        super().__init__(text)
        self.text = text
        self.number = number
        self.file = file
        self.place = place

    def __str__(self) -> str:
        start = f"error {self.number}: " if self.number else ""
        return start + self.text + (f": {self.file}" if self.file else "") + (f" ({self.place})" if self.place else "")

    def __reduce__(self) -> tuple[Any, ...]:
        return _again, (type(self), self.text, self.number, self.file, self.place)


def _again(kind: type[Error], text: str, number: int, file: str, place: str) -> Error:
    return kind(text, number=number, file=file, place=place)


class _SystemError(Error, OSError):
    """An error that is an OSError, too."""

    _errno = 0

    def __init__(self, text: str, *, number: int = 0, file: str = "", place: str = "") -> None:
        Error.__init__(self, text, number=number, file=file, place=place)
        # OSError's own members. They are read-only slots without a call of its __init__.
        self.errno = self._errno
        self.strerror = os.strerror(self._errno)
        self.filename = file or None

    __str__ = Error.__str__


class FileMissingError(_SystemError, FileNotFoundError):
    """There is no such file."""

    _errno = errno.ENOENT


class FileAccessError(_SystemError, PermissionError):
    """The file may not be read or written."""

    _errno = errno.EACCES


class FileIsFolderError(_SystemError, IsADirectoryError):
    """The path is a folder's."""

    _errno = errno.EISDIR


class PasswordError(Error):
    """The password is wrong, or the file needs one."""


class SplitError(Error, ValueError):
    """The token of a split is damaged, or its file has changed."""


class DataError(Error, ValueError):
    """The data have what no system file can hold, or a type cannot hold what the file has."""


class ArgumentError(Error, ValueError):
    """The call is wrong."""


class Warning(UserWarning):
    """What the caller should know of a file that was written, for example that times were stored in UTC."""


_BY_ERRNO = {kind._errno: kind for kind in (FileMissingError, FileAccessError, FileIsFolderError)}
_BY_ERRNO[errno.EPERM] = FileAccessError


def _system_kind(text: str) -> type[Error]:
    """The class for a text that ends in the system's reason."""
    for number, kind in _BY_ERRNO.items():
        if text.endswith(f"({os.strerror(number)})"):
            return kind
    return Error


def of_failure(result: int, number: int, text: str, file: str, place: str) -> BaseException:
    """The exception for a call of the C interface that failed."""
    kinds = {_ARGUMENT: ArgumentError, _SPLIT: SplitError, _DATA: DataError}
    kind: type[Error] = kinds.get(result, Error)
    if result == _MEMORY:
        return MemoryError(text)
    if number in _PASSWORD_NUMBERS:
        kind = PasswordError
    elif result == _OTHER or number == _CANNOT_OPEN:
        kind = _system_kind(text)
    if result == _DATA and _TICKS.search(text):
        text += _ROUND_HINT
    return kind(text, number=number, file=file, place=place)


def of_stream(text: str, file: str) -> BaseException:
    """The exception for the text of a stream that failed."""
    if text == "out of memory":
        return MemoryError(text)
    found = re.match(r"error (\d+): (.*)", text, re.DOTALL)
    if not found:
        return DataError(text + (_TIMES_HINT if "loss" in text else ""), file=file)
    return of_failure(_CATALOG, int(found[1]), found[2].removesuffix(f": {file}"), file, "")


def warn_of(notes: str, stack_level: int = 3) -> None:
    """Gives each line as a warning."""
    for note in notes.splitlines():
        warnings.warn(note, Warning, stacklevel=stack_level)
