#!/usr/bin/env python3
"""Finds paths of the machine on which a file was written: they are meaningless on any other.

    check_paths.py ROOT

Reads the files that git tracks or would add; in a copy without git, every file except those in build/.
"""

import re
import subprocess
import sys
from pathlib import Path

# Home folders and folders in which machines build.
MACHINE_PATH = re.compile(rb"(?<![\w.$}/-])/(?:home|root|Users|work|workspace|builds|mnt|tmp/bash_jobs)/[\w.]")


def files(root):
    listing = ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    if (root / ".git").exists():
        names = subprocess.run(listing, check=True, capture_output=True, text=True).stdout.split("\0")
        paths = [root / name for name in names if name]
    else:
        paths = [path for path in root.rglob("*") if path.relative_to(root).parts[0] != "build"]
    return sorted(path for path in paths if path.is_file())


def findings(root):
    here = str(root.resolve()).encode() + b"/"
    for path in files(root):
        for number, line in enumerate(path.read_bytes().split(b"\n"), 1):
            match = MACHINE_PATH.search(line)
            if match or here in line:
                text = line.decode(errors="replace").strip()[:100]
                yield f"{path.relative_to(root)}:{number}: a path of a machine: {text}"


def main():
    found = list(findings(Path(sys.argv[1])))
    print("\n".join(found) if found else "no path of a machine")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
