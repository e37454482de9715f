#!/usr/bin/env python3
"""Holds the floors of docs/architecture.md: reads every include and fails on one that points up.

    check_includes.py ROOT

Prints a line for each finding, "file:line: what is wrong", and answers 1 when there is any.
"""

import re
import sys
from pathlib import Path

# ---- The tables ----

# Platform: what else each layer may lean on. The headers at Platform's root (Export.h, Assert.h) serve them all.
PLATFORM_LAYERS = {
    "cipher": {"stream"},
    "messages": set(),
    "serial": {"stream"},
    "stream": {"text"},
    "tempdirs": {"messages", "stream"},
    "text": set(),
    "threads": set(),
}

# Datasource/src: its rooms, from the ground up. A file leans on its own room and on those named before it.
SOURCE_ROOMS = [
    "core",
    "dictionary",
    "sources",
    "casecodes",
    "storage/sortTemp",
    "storage",
    "systemfile",
    "systemfile/records",
    "views",
]

# Columns: likewise. It leans on all of Platform and Datasource, and neither knows of it.
COLUMN_ROOMS = [
    "text",
    "files",
    "dictionary",
    "cells",
    "batches",
    "splits",
    "arrow",
    "arrowin",
    "arrowfile",
    "capi",
]

# The rooms of Columns that the tool is built with, too. They use only public headers of the library.
SHARED_ROOMS = ["text", "files", "dictionary", "cells"]

# tools: likewise.
TOOL_ROOMS = [
    "text",
    "threads",
    "messages",
    "files",
    "commandline",
    "manual",
    "systemfile",
    "dictionary",
    "cases",
    "csv",
    "jsonlines",
    "forms",
    "verify",
    "diff",
    "statistics",
    "report",
    "commands",
]

# They stand above the rooms.
TOOL_PROGRAMS = ("tools/main.cpp", "tools/manual.cpp")

# What the extension of the Python package includes beside public headers: the owners of Arrow's structs.
PYTHON_EXTRAS = ("Columns/arrow/ArrowData.h",)

# A handler of extension records is known by nobody: it registers itself.
HANDLER_PREFIX = "SFExtension"

# Who may look at memory as something else than it is, and why.
RAW_MEMORY = {
    "Columns/arrowfile/ListElements.h": "numbers and structs of messages",
    "Columns/batches/BatchBuffers.h": "buffers of elements of any type",
    "Datasource/include/datasrc/Obs.h": "the bytes of cells",
    "Datasource/src/core/ByteOrder.h": "cells and text in bytes of files",
    "Datasource/src/core/LoadAhead.h": "addresses that may have no memory",
    "Datasource/src/sources/ObsProjector.cpp": "runs of cells",
    "Datasource/src/casecodes/GroupDecoder.cpp": "eight literals of a group at once",
    "Datasource/src/casecodes/CellsAhead.h": "eight cells of a case at once",
    "Datasource/src/systemfile/SystemFileDechunker.cpp": "text from segment to segment",
    "Platform/ByteOrder.h": "numbers in bytes of files",
    "Platform/stream/BlockCodecIsal.cpp": "bytes as the library's own type",
    "Platform/stream/BlockCodecZlib.cpp": "bytes as the library's own type",
    "Platform/stream/QUAV_FileStream.cpp": "bytes in and out of the buffer",
    "Platform/text/Ascii.h": "eight characters at once",
    "python/core/SchemaCopy.cpp": "numbers in Arrow's metadata",
}

# ---- Reading files ----

CHECKED = ("Platform", "Datasource", "Columns", "tools", "python", "examples", "bench", "fuzz", "tests")
INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)', re.MULTILINE)
COMMENT_OR_STRING = re.compile(r"""//[^\n]*|/\*.*?\*/|'\\?.'|"(?:\\.|[^"\\\n])*\"""", re.DOTALL)
RAW_MEMORY_CALL = re.compile(r"\breinterpret_cast\b|\bmemcpy\b")
GUARD = re.compile(r"^#ifndef (\w+)\n#define (\w+)\n", re.MULTILINE)


def without_comments_and_strings(text):
    """The code alone, line by line where it was."""
    return COMMENT_OR_STRING.sub(lambda match: "\n" * match[0].count("\n"), text)


class Tree:
    """The C++ files below a root, by their paths from there, and what each includes."""

    def __init__(self, root):
        self.root = root
        found = (path for folder in CHECKED for path in (root / folder).rglob("*") if path.suffix in (".h", ".cpp"))
        self.text = {path.relative_to(root).as_posix(): path.read_text(encoding="utf-8") for path in sorted(found)}

    def includes(self, file):
        """Pairs of line number and the included file of the tree (what is not in the tree is somebody else's)."""
        for match in INCLUDE.finditer(self.text[file]):
            target = self.resolve(file, match[1])
            if target:
                yield self.text[file].count("\n", 0, match.start(1)) + 1, target

    def own_headers(self, source):
        """What the first paragraph of includes names; nothing when that is headers of others."""
        paragraph = re.search(r"^(#include .*\n)+", self.text[source], re.MULTILINE)
        names = INCLUDE.findall(paragraph[0]) if paragraph else []
        return [target for target in (self.resolve(source, name) for name in names) if target]

    def resolve(self, file, name):
        for folder in (str(Path(file).parent), "", "Datasource/include", "Datasource/src", "Columns/include", "tools"):
            path = f"{folder}/{name}".lstrip("/")
            if path in self.text:
                return path
        return None

    def public_headers(self):
        """What a caller may include: the public folders, and what their headers reach in Platform."""
        reached = {file for file in self.text if file.startswith(("Datasource/include/", "Columns/include/"))}
        waiting = list(reached)
        while waiting:
            for _, target in self.includes(waiting.pop()):
                if target not in reached:
                    reached.add(target)
                    waiting.append(target)
        return {file for file in reached if not file.startswith("Datasource/src/")}


# ---- Floors ----


def platform_layer(file):
    """The layer's name; empty for the headers at the root."""
    parts = file.split("/")
    return parts[1] if len(parts) > 2 else ""


def room(file, folder):
    """The folder of a file, as a path from `folder`; empty at its root."""
    parent = Path(file).parent.relative_to(folder).as_posix()
    return "" if parent == "." else parent


class PublicRooms:
    """The room of each public header.

    A header stands in the room of the source that implements it: a source begins with a paragraph of its own headers.
    When sources of several rooms do, the lowest room counts. A header without a source stands in the highest of the
    rooms of the headers that it includes.
    """

    def __init__(self, tree):
        self.tree = tree
        self.implemented = {}
        for file in tree.text:
            if not file.startswith("Datasource/src/") or not file.endswith(".cpp"):
                continue
            if room(file, "Datasource/src") not in SOURCE_ROOMS:
                continue
            floor = SOURCE_ROOMS.index(room(file, "Datasource/src"))
            for own in tree.own_headers(file):
                if own.startswith("Datasource/include/"):
                    self.implemented[own] = min(floor, self.implemented.get(own, floor))

    def floor(self, header):
        if header not in self.implemented:
            self.implemented[header] = 0  # ends the walk through headers that include each other
            public = [target for _, target in self.tree.includes(header) if target.startswith("Datasource/include/")]
            self.implemented[header] = max(map(self.floor, public), default=0)
        return self.implemented[header]


def datasource_floor(file, public_rooms):
    """The floor of a file of Datasource; None for one in no room of the table."""
    if file.startswith("Datasource/include/"):
        return public_rooms.floor(file)
    name = room(file, "Datasource/src")
    return SOURCE_ROOMS.index(name) if name in SOURCE_ROOMS else None


def is_test(file):
    return file.startswith("tests/") or "/tests/" in file


def check_platform(file, target):
    if not target.startswith("Platform/"):
        return f"Platform knows nothing of {target}"
    layer, other = platform_layer(file), platform_layer(target)
    if other not in PLATFORM_LAYERS.get(layer, set()) | {layer, ""}:
        return f"the layer {layer or 'at the root'} does not lean on {target}"
    return None


def check_datasource(file, target, public_rooms):
    if target.startswith("Platform/"):
        return None
    if not target.startswith("Datasource/"):
        return f"the library knows nothing of {target}"
    if file.startswith("Datasource/include/") and target.startswith("Datasource/src/"):
        return f"a public header includes the private {target}"
    if is_handler(target) and not is_handler(file):
        return f"a handler registers itself: nobody includes {target}"
    floor, other = datasource_floor(file, public_rooms), datasource_floor(target, public_rooms)
    if floor is not None and other is not None and floor < other:
        return f"{target} stands higher ({SOURCE_ROOMS[other]}) than this file ({SOURCE_ROOMS[floor]})"
    return None


def check_columns(file, target, public):
    """A room of Columns leans on those before it, and on everything below: a shared room only on what callers see."""
    if target.split("/")[0] in ("Platform", "Datasource"):
        return f"{target} is not for a shared room" if is_shared(file) and target not in public else None
    if not target.startswith("Columns/"):
        return f"the library knows nothing of {target}"
    if file in public and target not in public:
        return f"a public header includes the private {target}"
    name, other = room(file, "Columns"), room(target, "Columns")
    if name in COLUMN_ROOMS and other in COLUMN_ROOMS and COLUMN_ROOMS.index(name) < COLUMN_ROOMS.index(other):
        return f"{target} stands higher than the room {name}"
    return None


def is_shared(file):
    return file.startswith("Columns/") and room(file, "Columns") in SHARED_ROOMS


def is_handler(file):
    return Path(file).name.startswith(HANDLER_PREFIX)


def check_caller(file, target, public):
    """Tools, examples and the Python package use the library as any caller does; the tool has the shared rooms, too."""
    if file.startswith("python/") and target in PYTHON_EXTRAS:
        return None
    if file.startswith("tools/") and is_shared(target):
        return None
    if target.split("/")[0] in ("Platform", "Datasource", "Columns") and target not in public:
        return f"{target} is not for callers"
    return None


def check_tool(file, target):
    """A room of the tool leans on those before it; a command knows no other command."""
    if not file.startswith("tools/") or not target.startswith("tools/") or file in TOOL_PROGRAMS:
        return None
    name, other = room(file, "tools"), room(target, "tools")
    if name in TOOL_ROOMS and other in TOOL_ROOMS and TOOL_ROOMS.index(name) < TOOL_ROOMS.index(other):
        return f"{target} stands higher than the room {name}"
    if is_command(file) and is_command(target) and Path(file).stem != Path(target).stem:
        return f"a command knows nothing of another: {target}"
    return None


def is_command(file):
    return file.startswith("tools/commands/") and Path(file).stem.endswith("Command")


def check_include(file, target, public, public_rooms):
    if is_test(file):
        return None
    folder = file.split("/")[0]
    if folder == "Platform":
        return check_platform(file, target)
    if folder == "Datasource":
        return check_datasource(file, target, public_rooms)
    if folder == "Columns":
        return check_columns(file, target, public)
    if folder in ("tools", "python", "examples"):
        return check_caller(file, target, public) or check_tool(file, target)
    return None


# ---- The other rules of a file ----


def guards(file):
    """The include guards that a header may have: its path, of which a few folders are left out or told apart."""
    public = ("Datasource/include/", "Columns/include/")
    path = file.removeprefix(public[0]).removeprefix(public[1]).removeprefix("Datasource/")
    path = re.sub(r"\W", "_", path).upper()
    if file.startswith(public):
        return [path]
    return ["DATASRC_" + path] if file.startswith("Datasource/") else [path, "DATASRC_" + path]


def check_guard(file, text):
    guard = GUARD.search(text)
    if not guard or guard[1] != guard[2] or guard[1] not in guards(file):
        return f"the include guard is not {guards(file)[0]}"
    return None


def check_raw_memory(file, text):
    """Pairs of line number and finding."""
    if file in RAW_MEMORY or is_test(file) or file.split("/")[0] not in ("Platform", "Datasource", "Columns", "tools",
                                                                                    "python"):
        return
    for number, line in enumerate(without_comments_and_strings(text).split("\n"), 1):
        for match in RAW_MEMORY_CALL.finditer(line):
            yield number, f"{match[0]} outside the helpers (RAW_MEMORY in check_includes.py)"


def check_rooms(tree):
    """Pairs of place and finding: every file stands in a room of the tables, and every room has files."""
    for folder, rooms in (("Datasource/src", SOURCE_ROOMS), ("Columns", COLUMN_ROOMS), ("tools", TOOL_ROOMS)):
        inside = [file for file in tree.text if file.startswith(folder + "/") and file not in TOOL_PROGRAMS]
        files = [file for file in inside if not file.startswith("Columns/include/")]
        for file in files:
            if room(file, folder) not in rooms:
                yield file, f"stands in no room of the table for {folder} in check_includes.py"
        for name in rooms:
            if not any(room(file, folder) == name for file in files):
                yield f"{folder}/{name}", "is a room of the table, but has no file"
    layers = {platform_layer(file) for file in tree.text if file.startswith("Platform/")}
    for layer in sorted(layers - {""} - PLATFORM_LAYERS.keys()):
        yield f"Platform/{layer}", "is no layer: add it to PLATFORM_LAYERS in check_includes.py"
    for file in RAW_MEMORY:
        if file not in tree.text:
            yield file, "stands in RAW_MEMORY, but there is no such file"


def findings(root):
    tree = Tree(root)
    public = tree.public_headers()
    public_rooms = PublicRooms(tree)
    for file, finding in check_rooms(tree):
        yield f"{file}: {finding}"
    for file, text in tree.text.items():
        for line, target in tree.includes(file):
            finding = check_include(file, target, public, public_rooms)
            if finding:
                yield f"{file}:{line}: {finding}"
        if file.endswith(".h"):
            finding = check_guard(file, text)
            if finding:
                yield f"{file}:1: {finding}"
        for line, finding in check_raw_memory(file, text):
            yield f"{file}:{line}: {finding}"


def main():
    found = list(findings(Path(sys.argv[1])))
    print("\n".join(found) if found else "every include points down or to its own floor")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
