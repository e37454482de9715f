"""Paths, names of encodings and passwords as the C interface takes them."""

from __future__ import annotations

import os
from typing import Union

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
Password = Union[str, bytes, None]


def path_bytes(path: PathLike) -> bytes:
    """A path as the system has it."""
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise ValueError("a path cannot have a zero character")
    return encoded


def encoding_bytes(encoding: str | None) -> bytes | None:
    """The name of an encoding; the library knows whether there is one of this name."""
    if encoding is None:
        return None
    if not isinstance(encoding, str):
        raise TypeError("an encoding must be a str")
    if "\0" in encoding:
        raise ValueError("the name of an encoding cannot have a zero character")
    return encoding.encode()


class Secret:
    """A password that shows itself to nobody. It can be pickled, because workers of other processes need it."""

    __slots__ = ("_bytes",)

    _bytes: bytes | None

    def __init__(self, password: Password) -> None:
        if isinstance(password, str):
            password = password.encode()
        if password is not None and not isinstance(password, (bytes, bytearray)):
            raise TypeError("a password must be str or bytes")
        if password is not None and b"\0" in password:
            raise ValueError("a password cannot have a zero character")
        self._bytes = bytes(password) if password is not None else None

    def reveal(self) -> bytes | None:
        return self._bytes

    def __bool__(self) -> bool:
        return bool(self._bytes)

    def __repr__(self) -> str:
        return "<password>" if self else "<no password>"

    def __getstate__(self) -> tuple[bytes | None]:
        return (self._bytes,)

    def __setstate__(self, state: tuple[bytes | None]) -> None:
        (self._bytes,) = state
