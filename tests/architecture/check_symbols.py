#!/usr/bin/env python3
"""Compares the symbols that the shared library exports with the kept list, exported_symbols.txt.

    check_symbols.py LIBRARY [--write]

Returns 1 and prints the differences when there are any, and symbols without a version or of the standard library. With --write, stores the symbols that the library exports now.

The list has a demangled line for each function and variable, and one line "class NAME" for everything that the compiler
makes for a class with virtual functions. It leaves out weak symbols: the code of inline functions and templates, which
every caller compiles itself. Functions of the C interface have their version in the list; the C++ symbols have that of
the library.
"""

import re
import subprocess
import sys
from pathlib import Path

KEPT = Path(__file__).with_name("exported_symbols.txt")

STRONG_TYPES = "TDBR"
CLASS_DATA = re.compile(r"(?:vtable|VTT|typeinfo|typeinfo name) for (.+)")
# Names of the standard library, with or without a return type before them.
STANDARD = re.compile(r"(?:[^(]* )?(?:std|__gnu_cxx)::")
# The version of a C++ symbol: that of the library, which changes more often than the list.
VERSION = re.compile(r"@@DATASRC_[0-9.]+$")
# Names of the compiler's run-time support (sanitizers, coverage, profiling).
RESERVED = re.compile(r"_")


def folded(kind, name):
    """Returns the line of a symbol; None for a symbol that is left out."""
    class_data = CLASS_DATA.fullmatch(name)
    if class_data:
        name = "class " + class_data[1]
    elif kind not in STRONG_TYPES or "thunk to " in name:
        return None
    return None if STANDARD.match(name) or RESERVED.match(name) else name


def exported(listing):
    """Returns the lines for the output of `nm -DC --defined-only`: an address, a type, a name."""
    symbols = (line.split(" ", 2)[1:] for line in listing.splitlines())
    return {line for kind, name in symbols if (line := folded(kind, VERSION.sub("", name)))}


def stray(listing):
    """Yields what is wrong with single symbols in such an output."""
    for line in listing.splitlines():
        _, kind, name = line.split(" ", 2)
        plain = re.sub(r"^(?:vtable|VTT|typeinfo|typeinfo name) for ", "", name)
        if kind == "A" or RESERVED.match(plain):  # the versions themselves, the run-time support
            continue
        if STANDARD.match(plain):
            yield f"of the standard library: {name}"
        elif "@@DATASRC_" not in name:
            yield f"without a version: {name}"


def main():
    nm = ["nm", "-DC", "--defined-only", sys.argv[1]]
    listing = subprocess.run(nm, check=True, capture_output=True, text=True).stdout
    strays = list(stray(listing))
    for line in strays:
        print(line)
    now = exported(listing)
    if sys.argv[2:] == ["--write"]:
        KEPT.write_text("".join(line + "\n" for line in sorted(now)), encoding="utf-8")
        return 0
    kept = set(KEPT.read_text(encoding="utf-8").splitlines())
    if now == kept and strays:
        return 1
    if now == kept:
        print(f"{len(now)} symbols, as kept")
        return 0
    for line in sorted(now - kept):
        print(f"new:  {line}")
    for line in sorted(kept - now):
        print(f"gone: {line}")
    print(f"If that is meant: tests/architecture/check_symbols.py {sys.argv[1]} --write")
    return 1


if __name__ == "__main__":
    sys.exit(main())
