"""Runs the tool as a person does.

    tool_test.py BINARY
"""

import csv
import io
import json
import os
import pathlib
import pty
import re
import resource
import stat
import struct
import subprocess
import sys
import tempfile
import time
import unittest

from system_file import SYSTEM_MISSING, SystemFile, format_word, late_variable

BINARY = ""
TIMEOUT = 300  # seconds

DATE = format_word(20, 11)
DATE_TIME = format_word(22, 20)
TIME = format_word(21, 8)
COMMA = format_word(3, 10, 2)
MARCH_14 = 13929753600.0  # 2024-03-14


IS_SANITIZED = "DATASRC_SANITIZED" in os.environ

# For a test of time or memory, of what another program makes of the output, or without /proc, which sanitizers miss aloud.
unsanitized = unittest.skipIf(IS_SANITIZED, "sanitizers take time and memory, need /proc, and see no other programs")


def good_samples(folder):
    """Returns the sample files; of those a quarter for a sanitized tool, which is slow."""
    samples = sorted(folder.glob("*.quav"))
    assert samples, f"no samples at {folder}: set DATASRC_SAMPLES"
    return samples[:: 4 if IS_SANITIZED else 1]


def people():
    """Returns a file of four cases with every kind of column."""
    return (
        SystemFile(label="People and towns")
        .variable("ID", print_format=format_word(5, 8), label="the number of the person")
        .variable("NAME", 12)
        .variable("TOWN", 1, missing=[b"?"])
        .variable("BORN", print_format=DATE)
        .variable("PAY", print_format=COMMA, missing=[-9.0, -1.0], missing_code=-2)
        .value_labels([(1.0, "first"), (2.0, "second, and last")], [1])
        .value_labels([(b"u", "Ulm"), (b"?", "not known")], [4])
        .case(1, b"Ann", b"u", MARCH_14, 1234.5)
        .case(2, "Jürgen".encode(), b"?", MARCH_14 + 37230, -9.0)
        .case(3, b'a "b", c', b"", None, None)
        .case(4.5, b" blank ", b"x", -1.0, -0.0)
    )


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, system_file, name="people.quav"):
        path = self.folder / name
        path.write_bytes(system_file if isinstance(system_file, bytes) else system_file.bytes())
        return path

    def run_tool(self, *arguments, **options):
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "timeout": TIMEOUT, **options}
        done = subprocess.run([BINARY, *map(str, arguments)], check=False, **options)
        done.stdout = (done.stdout or b"").decode("utf-8")
        done.stderr = (done.stderr or b"").decode("utf-8")
        return done

    def out(self, *arguments):
        """Returns the output of the tool, which must succeed."""
        done = self.run_tool(*arguments)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return done.stdout

    def fails(self, status, *arguments, **options):
        """Returns the one line of a failure."""
        done = self.run_tool(*arguments, **options)
        self.assertEqual(status, done.returncode, done.stderr)
        self.assertRegex(done.stderr, r"\Adatasrc: error[^\n]*\n\Z")
        return done.stderr


    def limited(self, size, *arguments):
        """Runs the tool with a limit on the size of files, in bytes. Returns its exit status and the errors."""
        words = " ".join(f"'{word}'" for word in (BINARY, *arguments))
        command = f"trap '' XFSZ; ulimit -f {size // 512}; exec {words}"
        done = subprocess.run(["sh", "-c", command], capture_output=True, timeout=TIMEOUT, check=False)
        return done.returncode, done.stderr.decode()

    def closes_early(self, *arguments):
        """Runs the tool, whose reader closes the pipe after the first line. That is no failure."""
        process = subprocess.Popen([BINARY, *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(b"", process.stderr.read())
        process.stderr.close()
        self.assertEqual(0, process.wait(TIMEOUT))


class HelpAndUsage(ToolTest):
    def test_help_lists_every_command(self):
        text = self.out("help")
        for command in ("info", "cat", "stats", "help"):
            self.assertRegex(text, rf"(?m)^  {command} ")

    def test_help_of_a_command_lists_its_options(self):
        text = self.out("help", "cat")
        for option in ("--format", "--columns", "--rows", "--labels", "--raw", "-o"):
            self.assertIn(f"  {option} ", text)

    def test_help_option_prints_the_same_as_the_help_command(self):
        self.assertEqual(self.out("help", "cat"), self.out("cat", "--help"))
        self.assertEqual(self.out("help"), self.out("--help"))

    def test_version_option_prints_the_version(self):
        self.assertRegex(self.out("--version"), r"\Adatasrc \d+\.\d+\.\d+\n\Z")

    def test_wrong_command_line_exits_with_status_2(self):
        file = self.file(people())
        for arguments in (
            [],
            ["nothing"],
            ["help", "nothing"],
            ["info"],
            ["info", "--wrong", file],
            ["cat"],
            ["cat", file, "--format", "xml"],
            ["cat", file, "--format"],
            ["cat", file, "--rows", "5"],
            ["cat", file, "--rows", "a:b"],
            ["cat", file, "--rows", "3:2"],
            ["cat", file, "--rows", ""],
            ["cat", file, "--columns", ""],
            ["cat", file, "--columns", "id,,pay"],
        ):
            with self.subTest(arguments=arguments):
                self.fails(2, *arguments)


class Errors(ToolTest):
    def test_missing_file_is_error_1201(self):
        line = self.fails(1, "info", "no such file")
        self.assertRegex(line, r"\Adatasrc: error 1201: .*No such file or directory.*: no such file\n\Z")

    def test_folder_is_error_1201(self):
        line = self.fails(1, "info", self.folder)
        self.assertRegex(line, r"\Adatasrc: error 1201: .*Is a directory")

    def test_pipe_is_error_1201(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        self.assertIn("error 1201", self.fails(1, "cat", pipe))

    def test_text_file_is_error_1204(self):
        self.assertIn("error 1204", self.fails(1, "info", self.file(b"some text that is long enough\n" * 10)))

    def test_truncated_dictionary_is_error_1205(self):
        self.assertIn("error 1205", self.fails(1, "info", self.file(people().bytes()[:200])))

    def test_error_names_the_place_of_a_malformed_record(self):
        file = self.file(SystemFile().variable("A").extension(13, 1, 1, b"A").case(1))
        self.assertRegex(self.fails(1, "info", file), r"\Adatasrc: error 1204: .* \(record 7/13, byte 208\)\n\Z")

    def test_error_stays_on_one_line_when_the_name_has_a_line_feed(self):
        self.assertIn("no␊such", self.fails(1, "info", "no\nsuch"))

    def test_empty_extension_record_is_error_1204(self):
        file = self.file(SystemFile().variable("A").extension(12, 4, 0).case(1))
        for command in ("info", "cat"):
            line = self.fails(1, command, file)
            self.assertRegex(line, r"error 1204: .*\"m_nUnits && m_unitSize\".* \(record 7/12, byte 208\)\n\Z")

    def test_negative_extension_subtype_is_error_1204(self):
        file = self.file(SystemFile().variable("A").extension(-5, 1, 4, b"four").case(1))
        self.assertRegex(self.fails(1, "info", file), r"error 1204: .* \(record 7/-5, byte 208\)\n\Z")

    def test_value_labels_for_the_second_cell_of_a_string_are_error_1204(self):
        file = self.file(SystemFile().variable("A", 9).value_labels([(1.0, "one")], [2]))
        self.assertRegex(self.fails(1, "info", file), r"error 1204: .* \(record 3, byte \d+\)\n\Z")

    def test_metadata_that_would_end_the_process_is_error_1204(self):
        place = 176 + 32  # after the header and a variable
        for subtype, contents, assertion in (
            (5, b"s= X\n$t=X\n", "(type == 'D') || (type == 'C') || (type == 'E')"),
            (7, b"t=C 9 L X\n", "length <= line.size()"),
            (19, b"=X\n=X\n", "! str.empty()"),
            (6, struct.pack("=39i", 0, 1, 11, *[0] * 36), "nDateVars < eMaxDateVars"),
            (6, struct.pack("=9i", 0, 1, 0, 1, 1, 0, 1, 2, 1), "iDateVar >= 0 && fData.fVars != 0"),
            (0, b"   (Entered 05-Mai-21)".ljust(80), "0 < mo && mo < 13"),
        ):
            with self.subTest(subtype=subtype, contents=contents):
                size = 4 if subtype == 6 else 1
                file = self.file(SystemFile().variable("X").extension(subtype, size, len(contents) // size, contents))
                for command in ("info", "cat"):
                    line = self.fails(1, command, file)
                    self.assertRegex(line, r"\Adatasrc: error 1204: ")
                    self.assertIn(f'"{assertion}" does not hold', line)
                    self.assertTrue(line.endswith(f": {file} (record 7/{subtype}, byte {place})\n"), line)

    def test_cases_before_a_fault_are_written(self):
        file = self.file(people().bytes()[:-1])
        for form, lines in (("csv", 4), ("jsonl", 3), ("table", 5)):
            with self.subTest(form=form):
                done = self.run_tool("cat", file, "--format", form)
                self.assertEqual(1, done.returncode)
                self.assertRegex(done.stderr, r"\Adatasrc: error 1205: [^\n]*\n\Z")
                self.assertEqual(lines, len(done.stdout.splitlines()))


class Csv(ToolTest):
    def rows(self, *arguments):
        return list(csv.reader(io.StringIO(self.out("cat", self.file(people()), "--format", "csv", *arguments))))

    def test_header_and_cases_are_written_as_csv(self):
        self.assertEqual(
            "id,name,town,born,pay\n"
            "1,Ann,u,2024-03-14,1234.5\n"
            "2,Jürgen,?,2024-03-14T10:20:30,-9\n"
            '3,"a ""b"", c",,,\n'
            '4.5," blank",x,-1,-0.0\n',
            self.out("cat", self.file(people())),
        )

    def test_fields_with_line_breaks_are_quoted(self):
        file = self.file(SystemFile().variable("A", 8).case(b"a\nb").case(b"a\rb"))
        self.assertEqual('a\n"a\nb"\n"a\rb"\n', self.run_tool("cat", file).stdout)

    def test_empty_field_is_quoted_when_the_line_would_be_empty(self):
        file = self.file(SystemFile().variable("A").case(1).case(None))
        self.assertEqual('a\n1\n""\n', self.out("cat", file))

    def test_labels_option_writes_value_labels(self):
        rows = self.rows("--labels")
        self.assertEqual(["first", "Ann", "Ulm", "2024-03-14", "1234.5"], rows[1])
        self.assertEqual(["second, and last", "Jürgen", "not known"], rows[2][:3])
        self.assertEqual(["3", 'a "b", c', ""], rows[3][:3])

    def test_raw_option_writes_stored_numbers(self):
        self.assertEqual(["13929753600", "13929790830", "", "-1"], [row[3] for row in self.rows("--raw")[1:]])

    def test_columns_option_selects_and_orders_columns(self):
        self.assertEqual(["pay", "id"], self.rows("--columns", "PAY,id")[0])
        self.assertEqual(["1234.5", "1"], self.rows("--columns", "PAY,id")[1])

    def test_column_may_be_selected_twice(self):
        self.assertEqual(["1", "1"], self.rows("--columns", "id,id")[1])

    def test_unknown_column_is_error_1507(self):
        line = self.fails(1, "cat", self.file(people()), "--columns", "id,age")
        self.assertRegex(line, r"error 1507: .*\bage\b.*people.quav")

    def test_rows_option_selects_a_range(self):
        for text, ids in (
            ("0:4", ["1", "2", "3", "4.5"]),
            ("1:3", ["2", "3"]),
            (":2", ["1", "2"]),
            ("2:", ["3", "4.5"]),
            (":", ["1", "2", "3", "4.5"]),
            ("2:2", []),
            ("3:100", ["4.5"]),
            ("4:", []),
            ("100:200", []),
            ("9223372036854775806:", []),
            (":0", []),
        ):
            with self.subTest(rows=text):
                self.assertEqual(ids, [row[0] for row in self.rows("--rows", text)[1:]])

    def test_all_cases_are_written_when_the_count_is_unknown(self):
        system_file = SystemFile(cases=-1).variable("A").case(1).case(2)
        self.assertEqual("a\n1\n2\n", self.out("cat", self.file(system_file)))

    def test_all_cases_are_written_when_the_count_is_too_small(self):
        system_file = SystemFile(cases=1).variable("A").case(1).case(2)
        self.assertEqual("a\n1\n2\n", self.out("cat", self.file(system_file)))

    def test_file_without_variables_writes_nothing(self):
        self.assertEqual("", self.out("cat", self.file(SystemFile())))

    def test_variables_after_other_records_are_an_error(self):
        """Such variables have no cells, and the library returns empty cases forever."""
        for columns in ([], ["--columns", "a"], ["--rows", "5:"]):
            error = self.fails(1, "cat", self.file(late_variable()), *columns)
            self.assertRegex(error, r"the cases cannot be read: the variables come after other records: .*people\.quav")
        self.assertEqual(["a"], [one["name"] for one in json.loads(self.out("info", "--json", self.file(late_variable())))["variables"]])

    def test_file_without_cases_writes_the_header(self):
        self.assertEqual("a\n", self.out("cat", self.file(SystemFile().variable("A"))))


class JsonLines(ToolTest):
    def lines(self, system_file, *arguments):
        text = self.out("cat", self.file(system_file), "--format", "jsonl", *arguments)
        return [json.loads(line) for line in text.splitlines()]

    def test_values_are_written_in_column_order(self):
        lines = self.lines(people())
        self.assertEqual([1, "Ann", "u", "2024-03-14", 1234.5], lines[0])
        self.assertEqual([3, 'a "b", c', "", None, None], lines[2])

    def test_negative_zero_keeps_its_sign(self):
        self.assertEqual(struct.pack("<d", -0.0), struct.pack("<d", self.lines(people())[3][4]))

    def test_numbers_without_digits_are_written_by_name(self):
        system_file = SystemFile().variable("A")
        for number in (float("nan"), float("inf"), float("-inf")):
            system_file.case(number)
        self.assertEqual([["NaN"], ["Infinity"], ["-Infinity"]], self.lines(system_file))

    def test_dates_and_times_are_iso_text(self):
        system_file = SystemFile().variable("A", print_format=DATE_TIME).variable("B", print_format=TIME)
        system_file.case(MARCH_14, 37230.5).case(MARCH_14 + 0.25, 93600).case(1e300, -60)
        self.assertEqual(
            [
                ["2024-03-14T00:00:00", "10:20:30.5"],
                ["2024-03-14T00:00:00.25", "P1DT2H0M0S"],
                [1e300, "-P0DT0H1M0S"],
            ],
            self.lines(system_file),
        )

    def test_invalid_utf8_becomes_the_replacement_character(self):
        lines = self.lines(SystemFile().variable("A", 8).case(b"a\xffb").case(b'"\\\x01'))
        self.assertEqual([["a\ufffdb"], ['"\\\x01']], lines)

    def test_file_without_variables_has_no_case(self):
        self.assertEqual([], self.lines(SystemFile(cases=3)))


class Table(ToolTest):
    def test_table_aligns_columns_and_uses_print_formats(self):
        self.assertEqual(
            "id  name      town                 born       pay\n"
            "--  --------  ----  -------------------  --------\n"
            " 1  Ann       u              2024-03-14  1,234.50\n"
            " 2  Jürgen    ?     2024-03-14 10:20:30     -9.00\n"
            ' 3  a "b", c\n'
            " 4   blank    x                      -1      0.00\n",
            self.out("cat", self.file(people()), "--format", "table"),
        )

    def test_raw_option_does_not_round_numbers(self):
        text = self.out("cat", self.file(people()), "--format", "table", "--raw", "--columns", "id,born")
        self.assertEqual(["4.5", "-1"], text.splitlines()[-1].split())

    def test_long_text_is_cut_and_wide_characters_take_two_columns(self):
        system_file = SystemFile().variable("A", 200).variable("B", 16)
        system_file.case(b"x" * 100, "東京".encode()).case(b"y", b"ab")
        lines = self.out("cat", self.file(system_file), "--format", "table").splitlines()
        self.assertEqual("x" * 39 + "…  東京", lines[2])
        self.assertEqual("y" + " " * 41 + "ab", lines[3])

    def test_control_characters_do_not_reach_the_terminal(self):
        file = self.file(SystemFile().variable("A", 8, label="a\x1b[2J").case(b"\x1b[2J\n\t"))
        self.assertIn("␛[2J␊␉", self.out("cat", file, "--format", "table"))
        self.assertNotIn("\x1b", self.out("info", file))

    def test_all_cases_are_written_with_widths_from_the_first_ones(self):
        system_file = SystemFile().variable("A", print_format=format_word(5, 8))
        for number in range(2500):
            system_file.case(number)
        lines = self.out("cat", self.file(system_file), "--format", "table").splitlines()
        self.assertEqual([" 0", "999", "1000", "2499"], [lines[2][1:], lines[1001], lines[1002], lines[2501]])
        self.assertEqual(2502, len(lines))


class Terminal(ToolTest):
    def on_terminal(self, *arguments):
        """Returns the output of the tool when standard output is a terminal."""
        controller, terminal = pty.openpty()
        with os.fdopen(controller, "rb", buffering=0) as reader:
            process = subprocess.Popen([BINARY, *map(str, arguments)], stdout=terminal, stderr=subprocess.DEVNULL)
            os.close(terminal)
            text = read_terminal(reader)
            self.assertEqual(0, process.wait(TIMEOUT))
        return text.replace("\r\n", "\n")

    def test_table_is_the_default_on_a_terminal(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file, "--format", "table"), self.on_terminal("cat", file))

    def test_csv_is_the_default_elsewhere(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file, "--format", "csv"), self.out("cat", file))

    def test_format_option_overrides_the_table_on_a_terminal(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file, "--format", "csv"), self.on_terminal("cat", file, "--format", "csv"))

    def test_long_work_shows_its_progress(self):
        system_file = SystemFile().variable("A", 200)
        for _ in range(6000):
            system_file.case(b"x" * 200)
        controller, terminal = pty.openpty()
        with os.fdopen(controller, "rb", buffering=0) as reader:
            process = subprocess.Popen(
                [BINARY, "cat", self.file(system_file)], stdout=subprocess.PIPE, stderr=terminal, bufsize=0
            )
            os.close(terminal)
            process.stdout.read(1)  # the work has begun and stops when the pipe is full
            time.sleep(1.2)
            process.stdout.read()
            text = read_terminal(reader)
            process.stdout.close()
            self.assertEqual(0, process.wait(TIMEOUT))
        self.assertRegex(text, r"\d,\d{3} of 6,000 cases")
        self.assertTrue(text.endswith("\r\x1b[K"), "the line is wiped")

    def test_short_work_shows_no_progress(self):
        controller, terminal = pty.openpty()
        with os.fdopen(controller, "rb", buffering=0) as reader:
            process = subprocess.Popen(
                [BINARY, "cat", self.file(people())], stdout=subprocess.DEVNULL, stderr=terminal
            )
            os.close(terminal)
            self.assertEqual("", read_terminal(reader))
            self.assertEqual(0, process.wait(TIMEOUT))


def read_terminal(reader):
    """Reads everything that is written to a pseudo terminal. The end of a terminal is a read error."""
    text = b""
    while True:
        try:
            block = reader.read(65536)
        except OSError:
            block = b""
        if not block:
            return text.decode("utf-8")
        text += block


class Outputs(ToolTest):
    def test_output_option_writes_a_file(self):
        out = self.folder / "out.csv"
        self.assertEqual("", self.out("cat", self.file(people()), "-o", out))
        self.assertEqual(self.out("cat", self.file(people())), out.read_text(encoding="utf-8"))

    def test_new_file_gets_the_mode_of_any_new_file(self):
        out = self.folder / "out.csv"
        self.out("cat", self.file(people()), "-o", out)
        mask = os.umask(0)
        os.umask(mask)
        self.assertEqual(0o666 & ~mask, stat.S_IMODE(out.stat().st_mode))

    def test_replaced_file_keeps_its_mode(self):
        out = self.folder / "out.csv"
        out.write_text("old")
        out.chmod(0o640)
        self.out("cat", self.file(people()), "-o", out)
        self.assertTrue(out.read_text(encoding="utf-8").startswith("id,"))
        self.assertEqual(0o640, stat.S_IMODE(out.stat().st_mode))

    def test_symbolic_link_stays_a_link(self):
        target = self.folder / "target.csv"
        target.write_text("old")
        link = self.folder / "link.csv"
        link.symlink_to(target)
        self.out("cat", self.file(people()), "-o", link)
        self.assertTrue(link.is_symlink())
        self.assertTrue(target.read_text(encoding="utf-8").startswith("id,"))

    def test_dash_means_standard_output(self):
        file = self.file(people())
        self.assertEqual(self.out("cat", file), self.out("cat", file, "-o", "-"))

    def test_failed_work_leaves_no_file(self):
        out = self.folder / "out.csv"
        self.assertIn("error 1205", self.fails(1, "cat", self.file(people().bytes()[:-1]), "-o", out))
        self.assertEqual(["people.quav"], os.listdir(self.folder))

    def test_failed_work_keeps_the_old_file(self):
        out = self.folder / "out.csv"
        out.write_text("old")
        self.fails(1, "cat", self.file(people().bytes()[:-1]), "-o", out)
        self.assertEqual("old", out.read_text())

    def test_failed_write_leaves_no_file(self):
        def limit_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (64, 64))

        system_file = SystemFile().variable("A", 200).case(b"x" * 200)
        # The limit sends a signal that would end the tool, so the shell that starts it ignores the signal.
        command = f"trap '' XFSZ; exec '{BINARY}' cat '{self.file(system_file)}' -o '{self.folder}/out.csv'"
        done = subprocess.run(
            ["sh", "-c", command], capture_output=True, timeout=TIMEOUT, check=False, preexec_fn=limit_files
        )
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stderr.decode(), r"\Adatasrc: error: .*File too large.*out.csv\n\Z")
        self.assertEqual(["people.quav"], os.listdir(self.folder))

    def test_missing_output_folder_is_an_error(self):
        line = self.fails(1, "cat", self.file(people()), "-o", self.folder / "no" / "out.csv")
        self.assertIn("No such file or directory", line)

    def test_input_is_never_replaced(self):
        file = self.file(people())
        before = file.read_bytes()
        self.assertIn("would replace", self.fails(1, "cat", file, "-o", file))
        self.assertEqual(before, file.read_bytes())

    def test_standard_output_never_overwrites_the_input(self):
        file = self.file(people())
        before = file.read_bytes()
        password = self.folder / "password"
        password.write_text("swordfish")
        for mode in ("r+b", "ab"):
            for what, *arguments in (
                (file, "cat", file),
                (file, "cat", file, "-o", "-"),
                (file, "cat", file, "-o", "/dev/stdout"),
                (file, "convert", file, "-", "--to", "csv"),
                (file, "info", file),
                (file, "info", file, "--json"),
                (password, "cat", file, "--password-file", password),
                (password, "mangle", password),
            ):
                with self.subTest(mode=mode, arguments=arguments), open(what, mode) as output:
                    content = what.read_bytes()
                    done = self.run_tool(*arguments, stdout=output)
                    self.assertEqual(1, done.returncode)
                    self.assertRegex(done.stderr, "the output would (overwrite|replace) the (input|password) file")
                    self.assertEqual(content, what.read_bytes())
        text = self.folder / "in.csv"
        text.write_text("a\n1\n")
        with open(text, "rb") as given, open(text, "r+b") as output:
            done = self.run_tool("convert", "-", "-", "--from", "csv", "--to", "jsonl", stdin=given, stdout=output)
        self.assertEqual(1, done.returncode)
        self.assertEqual("a\n1\n", text.read_text())
        self.assertEqual(before, file.read_bytes())

    def test_standard_output_may_be_another_file(self):
        with open(self.folder / "out.csv", "wb") as output:
            self.assertEqual(0, self.run_tool("cat", self.file(people()), stdout=output).returncode)
        self.assertIn("Ann", (self.folder / "out.csv").read_text())

    def test_device_is_written_and_not_replaced(self):
        self.assertEqual("", self.out("cat", self.file(people()), "-o", "/dev/null"))
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/null").st_mode))

    def test_full_standard_output_is_an_error(self):
        file = self.file(people())
        for arguments in (["cat", file], ["info", file], ["info", "--json", file], ["help"], ["--version"]):
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                line = self.fails(1, *arguments, stdout=full)
                self.assertRegex(line, r"error: .*No space left on device.*: standard output")

    def test_full_output_device_is_an_error(self):
        line = self.fails(1, "cat", self.file(people()), "-o", "/dev/full")
        self.assertRegex(line, r"No space left on device.*: /dev/full")
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))

    def test_closed_pipe_ends_the_work_without_an_error(self):
        system_file = SystemFile().variable("A", 200)
        for _ in range(6000):
            system_file.case(b"x" * 200)
        self.closes_early("cat", self.file(system_file))

    def test_closed_standard_output_is_an_error(self):
        command = f"'{BINARY}' info '{self.file(people())}' >&-"
        done = subprocess.run(["sh", "-c", command], capture_output=True, timeout=TIMEOUT, check=False)
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stderr.decode(), r"\Adatasrc: error: .*\n\Z")


class Info(ToolTest):
    def json(self, system_file):
        return json.loads(self.out("info", "--json", self.file(system_file)))

    def test_text_shows_the_dictionary(self):
        text = self.out("info", self.file(people()))
        for line in (
            r"File +.*people\.quav",
            r"Label +People and towns",
            r"Cases +4",
            r"Variables +5",
            r"Written +2024-03-14 10:20:30",
            r"Compression +none",
            r"Byte order +native",
            r"1  id +number +the number of the person +number 8 .*1=first, 2=second, and last",
            r"2  name +text 12 +text 12\b.*",
            r"3  town +text 1 .* \?  +u=Ulm, \?=not known|3  town +text 1 .* \?  +\?=not known, u=Ulm",
            r"4  born +number +date 11",
            r"5  pay +number +comma 10\.2 +-9 to -1",
        ):
            self.assertRegex(text, re.compile(f"^{line}$", re.MULTILINE))

    def test_text_shows_an_unknown_count(self):
        self.assertRegex(self.out("info", self.file(SystemFile(cases=-1).variable("A"))), r"(?m)^Cases +unknown$")

    def test_file_without_variables_shows_none(self):
        self.assertRegex(self.out("info", self.file(SystemFile())), r"(?m)^Variables +0$")
        self.assertEqual([], self.json(SystemFile())["variables"])

    def test_json_shows_variables(self):
        variables = self.json(people())["variables"]
        self.assertEqual(["id", "name", "town", "born", "pay"], [one["name"] for one in variables])
        self.assertEqual({"code": -2, "values": [-9, -1]}, variables[4]["missing"])
        self.assertEqual({"code": 1, "values": ["?"]}, variables[2]["missing"])
        self.assertEqual([[1, "first"], [2, "second, and last"]], variables[0]["value_labels"])
        self.assertIsNone(variables[1]["value_labels"])
        self.assertEqual([20, 11, 0], variables[3]["print"])

    def test_json_shows_open_ends_and_special_numbers(self):
        lowest = -sys.float_info.max
        highest = sys.float_info.max
        system_file = SystemFile().variable("A", missing=[lowest, 5.0], missing_code=-2)
        system_file.variable("B", missing=[1.0, highest, float("nan")], missing_code=-3)
        system_file.variable("C", missing=[-0.0, 1e300, lowest])
        missing = [one["missing"]["values"] for one in self.json(system_file)["variables"]]
        self.assertEqual([["lowest", 5], [1, "highest", "NaN"], [-0.0, 1e300, "lowest"]], missing)
        self.assertEqual(struct.pack("<d", -0.0), struct.pack("<d", missing[2][0]))

    def test_json_shows_system_missing_in_value_labels_as_null(self):
        labels = self.json(SystemFile().variable("A").value_labels([(SYSTEM_MISSING, "none")], [1]))
        self.assertEqual([[None, "none"]], labels["variables"][0]["value_labels"])

    def test_json_is_valid_when_the_text_is_not(self):
        sound = SystemFile(label='a "label"\\').variable("A", label="tab\there").bytes()
        info = self.json(sound.replace(b"here", b"\xff\xfe\x01!"))
        self.assertEqual('a "label"\\', info["label"])
        self.assertEqual("tab\t\ufffd\ufffd\x01!", info["variables"][0]["label"])

    def test_json_shows_extension_records(self):
        info = self.json(SystemFile().variable("A").extension(99, 4, 3, b"x" * 12).extension(150, 8, 1, b"y" * 8))
        self.assertEqual(
            [{"type": 99, "element_size": 4, "length": 3}, {"type": 150, "element_size": 8, "length": 1}],
            info["extensions"],
        )
        self.assertEqual([99], info["extensions_found"])

    def test_json_shows_an_unknown_count_and_no_release(self):
        info = self.json(SystemFile(cases=-1).variable("A"))
        self.assertEqual((None, None, None), (info["cases"], info["release"], info["weight"]))

    def test_variables_of_several_types_may_share_labels(self):
        # The record has only 8 bytes of a value: too few for the first variable, which gives the labels their type.
        system_file = SystemFile().variable("A", 20).variable("B", 1).variable("C")
        system_file.value_labels([(b"long", "a long one")], [1, 4, 5]).case(b"long", b"l", 1)
        file = self.file(system_file)
        self.assertRegex(self.out("info", file), r"(?m)^1  a .* long=a long one$")
        labels = [one["value_labels"] for one in json.loads(self.out("info", "--json", file))["variables"]]
        self.assertEqual([[["long", "a long one"]]] * 3, labels)
        self.assertEqual("a,b,c\nlong,l,1\n", self.out("cat", file, "--labels"))


if __name__ == "__main__":
    BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
