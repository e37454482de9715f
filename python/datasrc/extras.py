"""Packages that are imported when somebody asks for what they do."""

from __future__ import annotations

import importlib
from types import ModuleType


def needed(name: str, purpose: str) -> ModuleType:
    """Imports a package, or says how to get it."""
    try:
        return importlib.import_module(name)
    except ImportError as error:
        package = name.partition(".")[0]
        raise ImportError(f"{purpose} needs the package {package}: pip install {package}") from error


def found(name: str) -> ModuleType | None:
    """Imports a package if it is there."""
    try:
        return importlib.import_module(name)
    except ImportError:
        return None
