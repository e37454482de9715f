#!/usr/bin/env python3
"""Finds source paths in the library's constants that name a room: an assertion prints Datasource/src/datasrc.cpp.

    check_assertion_paths.py LIBRARY
"""

import re
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE_PATH = re.compile(rb"Datasource/src/[\w/]+\.(?:cpp|h)")
ROOM_WITHIN = re.compile(rb"Datasource/src/(?!sortTemp/)\w+/")


def constants(library):
    """The bytes of the section that holds the texts of assertions."""
    with tempfile.TemporaryDirectory() as scratch:
        section = Path(scratch, "rodata")
        command = ["objcopy", "--dump-section", f".rodata={section}", library, str(Path(scratch, "copy"))]
        subprocess.run(command, check=True)
        return section.read_bytes()


def findings(data):
    """The paths with a room; None when there is no path at all, so that nothing was checked."""
    paths = sorted(set(SOURCE_PATH.findall(data)))
    if not paths:
        return None
    return [path.decode() for path in paths if ROOM_WITHIN.match(path)]


def main():
    found = findings(constants(sys.argv[1]))
    if found is None:
        print("the library holds no path of a source")
        return 1
    print("\n".join(found) if found else "no path names a room")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
