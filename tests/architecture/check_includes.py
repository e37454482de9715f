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

CORE, STORAGE, SYSTEM_FILE, ENTRY = 1, 2, 3, 4
FLOOR_NAMES = {CORE: "core", STORAGE: "storage", SYSTEM_FILE: "system file", ENTRY: "entry and views"}

# Datasource/src: the floor of each file, by its path from there without the suffix. A source and its header stand on
# one floor. Only files of the same floor or below may be included.
SOURCE_FLOORS = {
    CORE: """
        AttributeText Attributes Avx2 BaseCString ByteOrder CaseValue DSDocument DSDocumentUtilities DataCell
        DataFreeDataSource NameSuffix ObsProjector ObsValue PassThroughIter QUAV_AssertFailed QUAV_CProjection
        QUAV_DataSourceData QuavErrorContext ReadLine RefCountPtr SortIndexInfo TrailingBlanks UpperName VariableNameIndex VariableNames VariableSetRecord calendar case
        datasrc datasrcservices dictnry dsobs extension independentdatastore inputcaseiterator settings
        systemfileformat trendsinfo valuelabelmap varformat variable variableset varimpl vlmapregistry
    """,
    STORAGE: """
        CaseCodes CellCodes CellCodesAvx2 CompressedStream StripeStream TempFileDataStore TempFileDataStoreData ZCompressionPool
        ZCompressionTask cryptfile inmemoryfile sortTemp/IOWorker sortTemp/baseDataStream sortTemp/blockManager
        sortTemp/compressWorker sortTemp/dataPoolManager sortTemp/worker sortTemp/zcmpsSort_FileStream
        sparsefileindex tempfile zcompressedfilestr
    """,
    SYSTEM_FILE: """
        ByteBuilder ByteCursor CellsAhead CompatNames CompressedSystemFile CompressionBuffer DictionaryReader
        DictionaryWriter DocumentRecord ExtendedStrings ExtensionRecord FixVarNames GroupDecoder GroupDecoderAvx2
        GroupEncoder GroupEncoderAvx2
        HeaderRecord LabelRecord Movers NameBank Rename SFExtensionDEFormatting SFExtensionDatasetAttributes
        SFExtensionEnhancedMRSets SFExtensionExtNames SFExtensionExtStrings SFExtensionFormat SFExtensionLWA
        SFExtensionMVExtStrings SFExtensionNCases SFExtensionOrigMrSets SFExtensionSortCasesKey
        SFExtensionSourceParametersDouble SFExtensionSourceParametersInt SFExtensionTrendsInfo
        SFExtensionVLExtStrings SFExtensionVariableAttributes SFExtensionVariableSets SaveDS SaveDSData SaveFile
        ShortNames SystemFileDataSource SystemFileDataSourceData SystemFileDechunker SystemFileException
        SystemFileExtensionRecord SystemFileIterator SystemFileOptions SystemFileWriting VariableFinder
        VariableRecord Warning cap_ltoa
    """,
    ENTRY: """
        CodePageDataSource EncodingView GetSystemFile UTF8DataSource
    """,
}
FLOOR_OF_SOURCE = {name: floor for floor, names in SOURCE_FLOORS.items() for name in names.split()}

# Public headers stand on the core but these.
PUBLIC_FLOORS = {
    "CodePageDataSource.h": ENTRY,
    "CryptFile.h": STORAGE,
    "CryptFileStream.h": STORAGE,
    "QUAV_InMemoryFile.h": STORAGE,
    "QUAV_TempFile.h": STORAGE,
    "SaveFile.h": SYSTEM_FILE,
    "SystemFileDataSource.h": SYSTEM_FILE,
    "TempFileDataStore.h": STORAGE,
    "UTF8DataSource.h": ENTRY,
    "ZCompressed_FileStream.h": STORAGE,
    "datasrc.h": ENTRY,
    "zcmpsSort_FileStream.h": STORAGE,
}

# A handler of extension records is known by nobody: it registers itself.
HANDLER_PREFIX = "SFExtension"

# Who may look at memory as something else than it is, and why.
RAW_MEMORY = {
    "Datasource/include/datasrc/Obs.h": "the bytes of cells",
    "Datasource/src/ByteOrder.h": "cells and text in bytes of files",
    "Datasource/src/ObsProjector.cpp": "runs of cells",
    "Datasource/src/GroupDecoder.cpp": "eight literals of a group at once",
    "Datasource/src/SystemFileDechunker.cpp": "text from segment to segment",
    "Platform/ByteOrder.h": "numbers in bytes of files",
    "Platform/stream/BlockCodecIsal.cpp": "bytes as the library's own type",
    "Platform/stream/BlockCodecZlib.cpp": "bytes as the library's own type",
    "Platform/stream/QUAV_FileStream.cpp": "bytes in and out of the buffer",
    "Platform/text/Ascii.h": "eight characters at once",
}

# ---- Reading files ----

CHECKED = ("Platform", "Datasource", "tools", "examples", "bench", "fuzz", "tests")
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

    def resolve(self, file, name):
        for folder in (str(Path(file).parent), "", "Datasource/include", "Datasource/src"):
            path = f"{folder}/{name}".lstrip("/")
            if path in self.text:
                return path
        return None

    def public_headers(self):
        """What a caller may include: the public folder, and what its headers reach in Platform."""
        reached = {file for file in self.text if file.startswith("Datasource/include/")}
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


def source_name(file):
    return file.removeprefix("Datasource/src/").rsplit(".", 1)[0]


def datasource_floor(file):
    """The floor of a file of Datasource; None for one that is in no table."""
    if file.startswith("Datasource/include/"):
        return PUBLIC_FLOORS.get(Path(file).name, CORE)
    return FLOOR_OF_SOURCE.get(source_name(file))


def is_test(file):
    return file.startswith("tests/") or "/tests/" in file


def check_platform(file, target):
    if not target.startswith("Platform/"):
        return f"Platform knows nothing of {target}"
    layer, other = platform_layer(file), platform_layer(target)
    if other not in PLATFORM_LAYERS.get(layer, set()) | {layer, ""}:
        return f"the layer {layer or 'at the root'} does not lean on {target}"
    return None


def check_datasource(file, target):
    if target.startswith("Platform/"):
        return None
    if not target.startswith("Datasource/"):
        return f"the library knows nothing of {target}"
    if file.startswith("Datasource/include/") and target.startswith("Datasource/src/"):
        return f"a public header includes the private {target}"
    if is_handler(target) and not is_handler(file):
        return f"a handler registers itself: nobody includes {target}"
    floor, other = datasource_floor(file), datasource_floor(target)
    if floor and other and floor < other:
        return f"{target} stands higher ({FLOOR_NAMES[other]}) than this file ({FLOOR_NAMES[floor]})"
    return None


def is_handler(file):
    return Path(file).name.startswith(HANDLER_PREFIX)


def check_caller(file, target, public):
    """Tools and examples use the library as any caller does."""
    if target.split("/")[0] in ("Platform", "Datasource") and target not in public:
        return f"{target} is not for callers"
    return None


def check_include(file, target, public):
    if is_test(file):
        return None
    folder = file.split("/")[0]
    if folder == "Platform":
        return check_platform(file, target)
    if folder == "Datasource":
        return check_datasource(file, target)
    if folder in ("tools", "examples"):
        return check_caller(file, target, public)
    return None


# ---- The other rules of a file ----


def guards(file):
    """The include guards that a header may have: its path, of which a few folders are left out or told apart."""
    path = file.removeprefix("Datasource/include/").removeprefix("Datasource/")
    path = re.sub(r"\W", "_", path).upper()
    if file.startswith("Datasource/include/"):
        return [path]
    return ["DATASRC_" + path] if file.startswith("Datasource/") else [path, "DATASRC_" + path]


def check_guard(file, text):
    guard = GUARD.search(text)
    if not guard or guard[1] != guard[2] or guard[1] not in guards(file):
        return f"the include guard is not {guards(file)[0]}"
    return None


def check_raw_memory(file, text):
    """Pairs of line number and finding."""
    if file in RAW_MEMORY or is_test(file) or file.split("/")[0] not in ("Platform", "Datasource", "tools"):
        return
    for number, line in enumerate(without_comments_and_strings(text).split("\n"), 1):
        for match in RAW_MEMORY_CALL.finditer(line):
            yield number, f"{match[0]} outside the helpers (RAW_MEMORY in check_includes.py)"


def check_tables(tree):
    """Pairs of file and finding: every file has its place, and every place its file."""
    sources = {file for file in tree.text if file.startswith("Datasource/src/")}
    for file in sorted(sources):
        if datasource_floor(file) is None:
            yield file, "has no floor: add it to SOURCE_FLOORS in check_includes.py"
    for name in sorted(FLOOR_OF_SOURCE.keys() - {source_name(file) for file in sources}):
        yield f"Datasource/src/{name}", "stands in SOURCE_FLOORS, but there is no such file"
    layers = {platform_layer(file) for file in tree.text if file.startswith("Platform/")}
    for layer in sorted(layers - {""} - PLATFORM_LAYERS.keys()):
        yield f"Platform/{layer}", "is no layer: add it to PLATFORM_LAYERS in check_includes.py"
    for file in RAW_MEMORY:
        if file not in tree.text:
            yield file, "stands in RAW_MEMORY, but there is no such file"


def findings(root):
    tree = Tree(root)
    public = tree.public_headers()
    for file, finding in check_tables(tree):
        yield f"{file}: {finding}"
    for file, text in tree.text.items():
        for line, target in tree.includes(file):
            finding = check_include(file, target, public)
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
