#!/usr/bin/env python3
"""Tests of the checks in this folder: each finds what it is there to find."""

import tempfile
import unittest
from pathlib import Path

import check_hardening
import check_includes
import check_paths
import check_symbols

HEADER = "#ifndef {0}\n#define {0}\n{1}\n#endif\n"


class Folder(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


class Includes(Folder):
    """Each test adds a file to a small tree in order, and looks at what is said of that file."""

    def setUp(self):
        super().setUp()
        self.write("Platform/Export.h", HEADER.format("PLATFORM_EXPORT_H", ""))
        self.write("Platform/text/Text.h", HEADER.format("PLATFORM_TEXT_TEXT_H", '#include "Platform/Export.h"'))
        self.write("Platform/text/Inner.h", HEADER.format("PLATFORM_TEXT_INNER_H", ""))
        self.write("Platform/stream/Stream.h", HEADER.format("PLATFORM_STREAM_STREAM_H", ""))
        public, private = "Datasource/include/datasrc/", "Datasource/src/"
        self.write(public + "Obs.h", HEADER.format("DATASRC_OBS_H", '#include "Platform/text/Text.h"'))
        self.write(public + "SystemFileDataSource.h", HEADER.format("DATASRC_SYSTEMFILEDATASOURCE_H", ""))
        self.write(public + "QUAV_Case.h", HEADER.format("DATASRC_QUAV_CASE_H", ""))
        self.write(private + "core/obs.cpp", '#include "datasrc/Obs.h"\n')
        self.write(private + "sources/case.cpp", '#include "datasrc/QUAV_Case.h"\n\n#include "datasrc/Obs.h"\n')
        self.write(
            private + "storage/CompressedStream.h", HEADER.format("DATASRC_SRC_STORAGE_COMPRESSEDSTREAM_H", "")
        )
        self.write(
            private + "systemfile/SystemFileOptions.h", HEADER.format("DATASRC_SRC_SYSTEMFILE_SYSTEMFILEOPTIONS_H", "")
        )
        self.write(
            private + "systemfile/SystemFileDataSource.cpp",
            '#include "datasrc/SystemFileDataSource.h"\n\n#include "datasrc/QUAV_Case.h"\n',
        )
        self.write(
            private + "systemfile/records/SFExtensionLWA.h",
            HEADER.format("DATASRC_SRC_SYSTEMFILE_RECORDS_SFEXTENSIONLWA_H", ""),
        )

    def said_of(self, file):
        return [finding for finding in check_includes.findings(self.root) if finding.startswith(file + ":")]

    def assert_fine(self, file, text):
        self.write(file, text)
        self.assertEqual([], self.said_of(file))

    def assert_found(self, file, text, words):
        self.write(file, text)
        self.assertRegex("\n".join(self.said_of(file)), words)

    def test_a_file_may_include_its_own_room_and_those_below(self):
        self.assert_fine(
            "Datasource/src/systemfile/SystemFileIterator.cpp",
            '#include "systemfile/SystemFileOptions.h"\n#include "storage/CompressedStream.h"\n'
            '#include "datasrc/Obs.h"\n#include "Platform/stream/Stream.h"\n#include "zlib.h"\n',
        )

    def test_the_core_does_not_include_the_system_file(self):
        file = "Datasource/src/core/settings.cpp"
        self.assert_found(file, '\n#include "systemfile/SystemFileOptions.h"\n', ":2: .*stands higher")

    def test_a_public_header_stands_in_the_room_of_its_source(self):
        file = "Datasource/src/core/settings.cpp"
        text = '#include <string>\n\n#include "{}"\n'
        self.assert_fine(file, text.format("datasrc/Obs.h"))
        self.assert_found(file, text.format("datasrc/QUAV_Case.h"), "QUAV_Case.h stands higher \\(sources\\)")
        self.assert_found(file, text.format("datasrc/SystemFileDataSource.h"), "stands higher \\(systemfile\\)")

    def test_a_public_header_without_a_source_stands_as_high_as_what_it_includes(self):
        self.write("Datasource/include/datasrc/All.h", HEADER.format("DATASRC_ALL_H", '#include "datasrc/QUAV_Case.h"'))
        text = '#include <string>\n\n#include <datasrc/All.h>\n'
        self.assert_found("Datasource/src/core/settings.cpp", text, "All.h stands higher \\(sources\\)")

    def test_storage_does_not_include_the_system_file(self):
        text = '#include "systemfile/SystemFileOptions.h"\n'
        self.assert_found("Datasource/src/storage/CompressedStream.cpp", text, "stands higher")

    def test_the_system_file_does_not_include_its_records(self):
        self.write(
            "Datasource/src/systemfile/records/Sets.h", HEADER.format("DATASRC_SRC_SYSTEMFILE_RECORDS_SETS_H", "")
        )
        text = '#include "systemfile/records/Sets.h"\n'
        self.assert_found("Datasource/src/systemfile/SaveDS.cpp", text, "stands higher")

    def test_a_file_stands_in_a_room_of_the_table(self):
        self.assert_found("Datasource/src/Newcomer.cpp", "", "stands in no room")
        self.assert_found("Datasource/src/newroom/Newcomer.cpp", "", "stands in no room")
        self.assert_found("tools/Newcomer.cpp", "", "stands in no room")

    def test_a_room_of_the_table_has_files(self):
        self.assertTrue(self.said_of("Datasource/src/views"))
        self.assertTrue(self.said_of("tools/csv"))

    def test_a_room_of_the_tool_leans_only_on_those_before_it(self):
        self.write("tools/text/Text.h", HEADER.format("TOOLS_TEXT_TEXT_H", ""))
        self.write("tools/csv/Csv.h", HEADER.format("TOOLS_CSV_CSV_H", ""))
        self.assert_fine("tools/csv/Csv.cpp", '#include "tools/csv/Csv.h"\n#include "tools/text/Text.h"\n')
        self.assert_found("tools/text/Text.cpp", '#include "tools/csv/Csv.h"\n', "stands higher than the room text")

    def test_a_shared_room_uses_the_library_as_callers_do(self):
        self.write("Datasource/src/core/Cells.h", HEADER.format("DATASRC_SRC_CORE_CELLS_H", ""))
        self.assert_fine("Columns/text/Numbers.cpp", '#include "datasrc/Obs.h"\n')
        text = '#include "core/Cells.h"\n'
        self.assert_fine("Columns/batches/Batch.cpp", text)
        self.assert_found("Columns/text/Numbers.cpp", text, "is not for a shared room")

    def test_the_tool_has_the_shared_rooms_of_the_columns_only(self):
        self.write("Columns/text/Numbers.h", HEADER.format("COLUMNS_TEXT_NUMBERS_H", ""))
        self.write("Columns/batches/Batch.h", HEADER.format("COLUMNS_BATCHES_BATCH_H", ""))
        self.assert_fine("tools/csv/Csv.cpp", '#include "Columns/text/Numbers.h"\n')
        self.assert_found("tools/csv/Csv.cpp", '#include "Columns/batches/Batch.h"\n', "is not for callers")
        self.assert_found("examples/first.cpp", '#include "Columns/text/Numbers.h"\n', "is not for callers")

    def test_a_command_knows_no_other_command(self):
        self.write("tools/commands/CatCommand.h", HEADER.format("TOOLS_COMMANDS_CATCOMMAND_H", ""))
        text = '#include "tools/commands/CatCommand.h"\n'
        self.assert_fine("tools/commands/CatCommand.cpp", text)
        self.assert_found("tools/commands/InfoCommand.cpp", text, "a command knows nothing of another")

    def test_platform_does_not_know_the_library_nor_the_tools(self):
        self.write("tools/files/Output.h", HEADER.format("TOOLS_FILES_OUTPUT_H", ""))
        file = "Platform/text/Text.cpp"
        self.assert_found(file, '#include "datasrc/Obs.h"\n', "Platform knows nothing of")
        self.assert_found(file, '#include "tools/files/Output.h"\n', "Platform knows nothing of")

    def test_a_layer_leans_only_on_those_of_the_table(self):
        self.assert_fine("Platform/stream/Stream.cpp", '#include "Platform/text/Text.h"\n')
        self.assert_found("Platform/text/Text.cpp", '#include "Platform/stream/Stream.h"\n', "does not lean on")

    def test_a_new_layer_has_its_place_in_the_table(self):
        self.write("Platform/newcomer/X.cpp", "")
        self.assertTrue(self.said_of("Platform/newcomer"))

    def test_a_public_header_includes_no_private_one(self):
        text = HEADER.format("DATASRC_QUAV_CASE_H", '#include "storage/CompressedStream.h"')
        self.assert_found("Datasource/include/datasrc/QUAV_Case.h", text, "a public header includes the private")

    def test_nobody_includes_a_handler(self):
        text = '#include "systemfile/records/SFExtensionLWA.h"\n'
        self.assert_found("Datasource/src/views/GetSystemFile.cpp", text, "a handler registers itself")

    def test_the_tool_includes_what_callers_include(self):
        self.assert_fine("tools/main.cpp", '#include "datasrc/Obs.h"\n#include "Platform/text/Text.h"\n')
        self.assert_found("tools/main.cpp", '#include "Datasource/src/systemfile/SystemFileOptions.h"\n', "is not for callers")
        self.assert_found("tools/main.cpp", '#include "Platform/text/Inner.h"\n', "is not for callers")

    def test_the_tool_does_not_include_the_format_constants(self):
        self.write(
            "Datasource/src/core/systemfileformat.h", HEADER.format("DATASRC_SRC_CORE_SYSTEMFILEFORMAT_H", "")
        )
        text = '#include "Datasource/src/core/systemfileformat.h"\n'
        self.assert_found("tools/systemfile/OpenSource.cpp", text, "is not for callers")

    def test_raw_memory_is_left_to_the_helpers(self):
        file = "Datasource/src/sources/case.cpp"
        self.assert_fine(file, '// memcpy is for the helpers\nconst char* text = "memcpy";\n')
        self.assert_found(file, "\nstd::memcpy(a, b, 8);\n", ":2: memcpy outside")
        self.assert_found(file, "char quote = '\"'; std::memcpy(a, \"b\", 8);\n", "memcpy outside")
        self.assert_found(file, "auto p = reinterpret_cast<char*>(a);\n", "reinterpret_cast outside")

    def test_include_guards_follow_the_path(self):
        for file, guard in {
            "Platform/text/Guard.h": "PLATFORM_TEXT_GUARD_H",
            "Datasource/src/core/case.h": "DATASRC_SRC_CORE_CASE_H",
            "Datasource/include/datasrc/Guard.h": "DATASRC_GUARD_H",
            "tests/support/Guard.h": "TESTS_SUPPORT_GUARD_H",
            "bench/Guard.h": "DATASRC_BENCH_GUARD_H",
        }.items():
            with self.subTest(file):
                self.assert_fine(file, HEADER.format(guard, ""))
                self.assert_found(file, HEADER.format("ANOTHER_H", ""), "include guard")
                self.assert_found(file, "#pragma once\n", "include guard")


class Symbols(unittest.TestCase):
    def exported(self, *listing):
        return check_symbols.exported("\n".join("0000000000001234 " + line for line in listing))

    def test_functions_stand_as_they_are_demangled(self):
        self.assertEqual({"operator+(A const&, A const&)"}, self.exported("T operator+(A const&, A const&)"))

    def test_what_the_compiler_makes_for_a_class_is_one_line(self):
        made = self.exported("V vtable for A", "V typeinfo for A", "V typeinfo name for A", "D VTT for A")
        self.assertEqual({"class A"}, made)

    def test_inline_code_is_left_out(self):
        left_out = ["W A::Inline()", "u A::Instance()::one", "T non-virtual thunk to A::~A()"]
        self.assertEqual(set(), self.exported(*left_out))

    def test_the_standard_library_is_left_out(self):
        left_out = ["V typeinfo for std::mutex", "T std::f(int)", "T void std::deque<A, std::allocator<A> >::g(A&)"]
        self.assertEqual(set(), self.exported(*left_out))

    def test_an_argument_of_the_standard_library_leaves_nothing_out(self):
        self.assertEqual({"A::F(std::vector<int> const&)"}, self.exported("T A::F(std::vector<int> const&)"))


    def test_the_version_of_the_library_is_left_out(self):
        self.assertEqual({"A::F()"}, self.exported("T A::F()@@DATASRC_0.1"))
        self.assertEqual({"datasrc_f@@DATASRC_C_1"}, self.exported("T datasrc_f@@DATASRC_C_1"))

    def stray(self, *listing):
        return list(check_symbols.stray("\n".join("0000000000001234 " + line for line in listing)))

    def test_symbols_with_a_version_are_fine(self):
        fine = ["A DATASRC_0.1", "T A::F(std::mutex&)@@DATASRC_0.1", "V typeinfo for A@@DATASRC_0.1", "T d@@DATASRC_C_1"]
        self.assertEqual([], self.stray(*fine))

    def test_symbols_without_a_version_are_found(self):
        self.assertEqual(["without a version: A::F()"], self.stray("T A::F()"))

    def test_symbols_of_the_standard_library_are_found(self):
        for line in ("W std::f()@@DATASRC_0.1", "V typeinfo for std::mutex@@DATASRC_0.1", "W void std::g()"):
            self.assertEqual([f"of the standard library: {line[2:]}"], self.stray(line))


class Hardening(unittest.TestCase):
    """What readelf prints, in the parts that matter, and what the check finds in it."""

    HARDENED = {
        "header": "  Type:                              DYN (Shared object file)\n",
        "segments": "  LOAD           0x1000 0x1000 R E 0x1000\n"
        "  GNU_STACK      0x000000 0x0000000000000000 0x0000000000000000 0x000000 0x000000 RW  0x10\n"
        "  GNU_RELRO      0x19d700 0x000000000019e700\n",
        "dynamic": " 0x1e (FLAGS)   BIND_NOW\n 0x6ffffffb (FLAGS_1)  Flags: NOW PIE\n",
        "symbols": "FUNC    GLOBAL DEFAULT  UND __stack_chk_fail@GLIBC_2.4 (2)\n"
        "FUNC    GLOBAL DEFAULT  UND __memcpy_chk@GLIBC_2.3.4 (3)\n",
    }

    def found(self, **other):
        return list(check_hardening.findings({**self.HARDENED, **other}))

    def test_hardened_file_is_fine(self):
        self.assertEqual([], self.found())
        self.assertEqual([], self.found(dynamic=" 0x6ffffffb (FLAGS_1)  Flags: NOW\n"))

    def test_each_lack_is_found(self):
        segments = self.HARDENED["segments"]
        for other in (
            {"header": "  Type:     EXEC (Executable file)\n"},
            {"segments": segments.replace("GNU_RELRO", "NULL")},
            {"segments": segments.replace("RW  0x10", "RWE 0x10")},
            {"segments": segments.replace("GNU_STACK", "NULL")},
            {"segments": segments.replace("R E", "RWE")},
            {"dynamic": " 0x6ffffffb (FLAGS_1)  Flags: PIE\n"},
            {"symbols": self.HARDENED["symbols"].replace("__stack_chk_fail", "abort")},
            {"symbols": self.HARDENED["symbols"].replace("__memcpy_chk", "memcpy")},
            {"dynamic": self.HARDENED["dynamic"] + " 0x16 (TEXTREL)  0x0\n"},
        ):
            with self.subTest(**other):
                self.assertEqual(1, len(self.found(**other)))

    def test_soname_is_compared(self):
        elf = {"dynamic": " 0x0e (SONAME)   Library soname: [libx.so.1]\n"}
        self.assertEqual([], list(check_hardening.name_findings(elf, "libx.so.1")))
        self.assertEqual(1, len(list(check_hardening.name_findings(elf, "libx.so.2"))))
        self.assertEqual(1, len(list(check_hardening.name_findings({"dynamic": ""}, "libx.so.1"))))


class Paths(Folder):
    def found(self, text):
        self.write("docs/page.md", text)
        return list(check_paths.findings(self.root))

    def test_a_home_folder_is_found(self):
        self.assertEqual(1, len(self.found("first\nsee /" + "home/somebody/page\n")))

    def test_the_place_of_the_checkout_is_found(self):
        self.assertEqual(1, len(self.found(f"cd {self.root}/docs\n")))

    def test_a_path_within_the_tree_is_fine(self):
        self.assertEqual([], self.found("docs/home/page, $prefix/work/x, /usr/lib, https://example.org/home/page\n"))

    def test_what_was_built_is_not_looked_at(self):
        self.write("build/log", "/" + "home/somebody\n")
        self.assertEqual([], self.found(""))


if __name__ == "__main__":
    unittest.main()
