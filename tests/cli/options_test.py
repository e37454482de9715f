"""Runs the options that all commands have, hints at what was mistyped, and `datasrc info VARIABLE...`.

    options_test.py BINARY SAMPLES
"""

import fcntl
import json
import os
import pathlib
import pty
import struct
import subprocess
import sys
import termios
import unittest

import tool_test
from convert_test import ConvertTest
from system_file import SystemFile
from tool_test import people

SAMPLES = pathlib.Path()


class OptionsTest(ConvertTest):
    def warned(self):
        """A password file that `mangle` warns about: others can read it."""
        path = self.folder / "password"
        path.write_text("secret\n", encoding="utf-8")
        path.chmod(0o644)
        return path

    def on_terminal(self, *arguments, columns=80, **variables):
        """Returns what the tool prints on a terminal."""
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        environment = {name: value for name, value in os.environ.items() if name not in ("NO_COLOR", "COLUMNS")}
        with subprocess.Popen(
            [tool_test.BINARY, *map(str, arguments)], stdout=slave, stderr=slave, env={**environment, "TERM": "xterm", **variables}
        ) as tool:
            os.close(slave)
            out = b""
            while True:
                try:
                    piece = os.read(master, 65536)
                except OSError:
                    break
                if not piece:
                    break
                out += piece
        os.close(master)
        self.assertEqual(0, tool.returncode, out)
        return out.decode("utf-8").replace("\r\n", "\n")


class ForAll(OptionsTest):
    def test_quiet_prints_no_warning(self):
        self.assertIn("warning: other users", self.run_tool("mangle", self.warned()).stderr)
        for arguments in (["mangle", "--quiet", self.warned()], ["--quiet", "mangle", self.warned()]):
            done = self.run_tool(*arguments)
            self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_quiet_prints_errors(self):
        self.assertIn("error 1201", self.fails(1, "info", "--quiet", self.folder / "nothing"))

    def test_strict_makes_a_warning_a_failure(self):
        done = self.run_tool("mangle", "--strict", self.warned())
        self.assertEqual(1, done.returncode)
        self.assertRegex(done.stderr, r"\Adatasrc: warning: other .*\ndatasrc: error: there were warnings.*\n\Z")
        self.assertIn("error: there were warnings", self.fails(1, "mangle", "--strict", "--quiet", self.warned()))

    def test_strict_failure_leaves_the_output_as_it_was(self):
        lossy = SAMPLES / "cp1252.quav"
        more = self.text_file("a\n1\n", "more.csv")
        file = self.folder / "file.quav"
        self.out("convert", more, file)
        before = file.read_bytes()
        out = self.text_file("old", "out.csv")
        for command in (
            ["append", file, more, "--password-file", self.warned()],
            ["append", file, more, "--password-file", self.warned(), "--in-place"],
            ["convert", lossy, file, "--encoding", "us-ascii"],
            ["convert", file, out, "--password-file", self.warned()],
            ["convert", file, self.folder / "new.arrow", "--password-file", self.warned()],
            ["concat", file, self.text_file('{"a": 1}\n', "in.ndjson"), "--password-file", self.warned()],
            ["cat", file, "-o", out, "--password-file", self.warned()],
            ["report", file, "-o", self.folder / "new.html", "--password-file", self.warned()],
        ):
            with self.subTest(command=command):
                done = self.run_tool("--strict", *command)
                self.assertEqual(1, done.returncode, done.stderr)
                self.assertRegex(done.stderr, r"warning: [^\0]*error: there were warnings, and --strict")
                self.assertEqual((before, "old"), (file.read_bytes(), out.read_text()))
        self.assertEqual([], list(self.folder.glob("new.*")))

    def test_strict_counts_the_warnings_of_verify(self):
        sample = SAMPLES / "repaired_names.quav"
        self.assertIn("warning", self.out("verify", sample))
        done = self.run_tool("verify", "--strict", sample)
        self.assertEqual(1, done.returncode)
        self.assertIn("there were warnings", done.stderr)

    def test_strict_without_a_warning_is_no_failure(self):
        self.out("info", "--strict", self.file(people()))

    def test_errors_as_json_have_all_members(self):
        bad = SAMPLES / "bad" / "display_count.quav"
        done = self.run_tool("info", "--errors", "json", bad)
        self.assertEqual(1, done.returncode)
        error = json.loads(done.stderr)
        self.assertEqual(["level", "number", "text", "file", "place"], list(error))
        self.assertEqual(("error", 1204, str(bad)), (error["level"], error["number"], error["file"]))
        self.assertEqual(["byte", "record", "subtype"], list(error["place"]))
        self.assertEqual((7, 11), (error["place"]["record"], error["place"]["subtype"]))

    def test_warning_as_json_is_one_line(self):
        file = self.warned()
        warning = json.loads(self.run_tool("mangle", "--errors=json", file).stderr)
        self.assertEqual(("warning", None, str(file), None), (warning["level"], warning["number"], warning["file"], warning["place"]))

    def test_wrong_command_line_is_json_too(self):
        for arguments in (["--errors", "json", "inof"], ["info", "--errors=json", "--wrong"]):
            done = self.run_tool(*arguments)
            self.assertEqual(2, done.returncode)
            error = json.loads(done.stderr)
            self.assertEqual(("error", None, None, None), (error["level"], error["number"], error["file"], error["place"]))

    def test_hostile_file_name_stays_in_its_string(self):
        name = self.folder / 'a"b\nc\\d\x1b'
        error = json.loads(self.run_tool("info", "--errors", "json", name).stderr)
        self.assertEqual(str(name), error["file"])

    def test_values_are_tested(self):
        file = self.file(people())
        for option, value in (("--errors", "xml"), ("--color", "blue"), ("--threads", "0"), ("--threads", "x")):
            self.fails(2, "info", file, option, value)

    def test_conversions_do_not_depend_on_the_number_of_threads(self):
        rows = [f'{i},{i / 8},"name ""{i % 7}""\n{i}",2024-03-14,{"NA" if i % 9 == 0 else i % 13}\r\n' for i in range(30_000)]
        good = "id,share,name,day,score\n" + "".join(rows) + "\n \n"
        long = "".join(rows[:25_000])
        texts = {
            "good": good,
            "early": "id,share,name,day,score\n1,2\n" + long,
            "late": "id,share,name,day,score\n" + long + '1,2,"x"y,3,4\n' + long,
            "last": good + "1,2,3,4\n",
            "open": "id,share,name,day,score\n" + long + '1,2,"x,3,4\n',
            "blank": "id,share,name,day,score\n" + long + "\n\n" + long,
        }
        for name, text in texts.items():
            source = self.csv_file(text, f"{name}.csv")
            results = []
            for threads in (1, 2, 5):
                out = self.folder / f"{name}{threads}.quav"
                done = self.run_tool("convert", source, out, "--threads", threads)
                result = [done.returncode, done.stderr.replace(str(out), "OUT"), out.exists()]
                if out.exists():
                    result.append(self.out("info", out, "--json").replace(json.loads(self.out("info", out, "--json"))["timestamp"], ""))
                    for form in ("csv", "jsonl", "ndjson"):
                        result.append(self.out("cat", out, "--format", form, "--threads", threads))
                # What reaches a pipe before the error is the same, too.
                piped = self.run_tool("convert", source, "-", "--to", "csv", "--threads", threads)
                results.append(result + [piped.returncode, piped.stdout, piped.stderr])
            with self.subTest(name=name):
                self.assertEqual(name != "good", bool(results[0][0]))
                for other in results[1:]:
                    self.assertTrue(results[0] == other, (results[0][:2], other[:2]))

    def test_appended_text_does_not_depend_on_the_number_of_threads(self):
        rows = "".join(f"{i},name {i % 77} \u00e4\n" for i in range(60_000))
        first = self.convert(self.csv_file("id,name\n12345,name 00 \u00e4 and more\n"), name="first.quav")
        west = self.convert(first, "--encoding", "windows-1252", name="west.quav")
        for file in (first, west):
            for end in ("", "1,2,3\n", "1,\u4e2d\n" if file == west else "x,\u4e2d\n"):
                source = self.csv_file("id,name\n" + rows + end, "more.csv")
                results = []
                for threads in (1, 2, 5):
                    copy = self.folder / "copy.quav"
                    copy.write_bytes(file.read_bytes())
                    done = self.run_tool("append", copy, source, source, "--threads", threads)
                    results.append((done.returncode, done.stdout, done.stderr, copy.read_bytes()))
                with self.subTest(file=file, end=end):
                    self.assertEqual(int(end != ""), results[0][0], results[0][2])
                    self.assertTrue(results[0] == results[1] == results[2], [one[:3] for one in results])

    def test_one_thread_starts_none(self):
        source = self.csv_file("a,b\n" + "1,2\n" * 300_000)
        file = self.convert(source)
        for arguments in (["convert", source, self.folder / "other.quav"], ["cat", file]):
            with subprocess.Popen([tool_test.BINARY, *map(str, arguments), "--threads", "1"], stdout=subprocess.PIPE) as tool:
                most = 1
                while tool.stdout.read(65536) or tool.poll() is None:
                    try:
                        most = max(most, len(os.listdir(f"/proc/{tool.pid}/task")))
                    except OSError:
                        break
                tool.wait()
            self.assertEqual(1, most, arguments)

    def test_any_number_of_threads_gives_the_same(self):
        file = self.file(people())
        for threads in (1, 2, 64):
            self.assertEqual(self.out("verify", file), self.out("verify", file, "--threads", threads))

    def test_every_command_has_the_options(self):
        for command in ("info", "cat", "convert", "append", "verify", "diff", "mangle", "help"):
            text = self.out("help", command)
            for option in ("--quiet", "--strict", "--errors", "--color", "--threads"):
                self.assertIn(f"  {option} ", text)


class Colours(OptionsTest):
    def test_terminal_has_colours_unless_no_color_is_set(self):
        file = self.file(people())
        self.assertIn("\x1b[", self.on_terminal("info", file))
        self.assertNotIn("\x1b[", self.on_terminal("info", file, NO_COLOR="1"))
        self.assertIn("\x1b[", self.on_terminal("info", file, NO_COLOR=""))
        self.assertNotIn("\x1b[", self.on_terminal("info", file, TERM="dumb"))
        self.assertIn("\x1b[", self.on_terminal("info", file, "--color", "always", NO_COLOR="1"))
        self.assertNotIn("\x1b[", self.on_terminal("info", file, "--color", "never"))

    def test_pipe_has_none(self):
        self.assertNotIn("\x1b", self.out("info", self.file(people())))


class Widths(OptionsTest):
    def test_table_fits_the_terminal(self):
        file = self.file(SystemFile().variable("A", label="a label of some length " * 3).value_labels([(1.0, "a long label of a value")], [1]))
        wide = self.on_terminal("info", file, "--color", "never", columns=200).splitlines()
        self.assertGreater(max(map(len, wide[-2:])), 100)
        narrow = self.on_terminal("info", file, "--color", "never", columns=80).splitlines()
        self.assertLessEqual(max(map(len, narrow[-3:])), 80)
        by_variable = self.on_terminal("info", file, "--color", "never", columns=80, COLUMNS="100").splitlines()
        self.assertGreater(max(map(len, by_variable[-3:])), 80)


    def test_table_of_cases_fits_the_terminal(self):
        file = self.file(SystemFile().variable("A", 60).variable("B", 60).case(b"a" * 60, b"b" * 60))
        for columns, width in ((50, 50), (100, 82)):
            lines = self.on_terminal("cat", file, columns=columns).splitlines()
            self.assertEqual([width] * 2, [len(line) for line in lines[1:]])


class Hints(OptionsTest):
    def test_mistyped_command_names_the_nearest(self):
        for typed, meant in (("covnert", "convert"), ("inf", "info"), ("CAT", "cat"), ("apend", "append")):
            self.assertIn(f"; did you mean {meant}?", self.fails(2, typed))
        self.assertIn("; did you mean verify?", self.fails(2, "help", "verfy"))

    def test_command_that_is_like_none_has_no_hint(self):
        self.assertNotIn("did you mean", self.fails(2, "frobnicate"))

    def test_first_argument_that_is_not_understood_is_named(self):
        file = self.file(people())
        self.assertIn("error: unknown command frobnicate (", self.fails(2, "frobnicate", file))
        self.assertIn("error: unknown option --colums; did you mean", self.fails(2, "cat", file, "--colums", "A"))
        self.assertIn("error: unknown option --colums; did you mean", self.fails(2, "cat", "--colums=A"))
        self.assertIn("error: unexpected argument more (", self.fails(2, "cat", file, "more", "still"))

    def test_mistyped_option_names_the_nearest(self):
        file = self.file(people())
        self.assertIn("; did you mean --columns?", self.fails(2, "cat", file, "--colums", "A"))
        self.assertIn("; did you mean --columns?", self.fails(2, "cat", file, "--colums=A"))
        self.assertIn("; did you mean --json?", self.fails(2, "info", "--jsn", file))

    def test_mistyped_variable_names_the_nearest(self):
        file = self.file(people())
        line = self.fails(1, "cat", file, "--columns", "id,tonw")
        self.assertIn("error 1507: there is no variable with the name tonw; did you mean town?", line)
        self.assertIn("did you mean born?", self.fails(1, "info", file, "bron"))
        self.assertNotIn("did you mean", self.fails(1, "info", file, "quite_another"))


class InfoOfVariables(OptionsTest):
    def test_variable_is_shown_whole(self):
        labels = [(float(value), f"the label of value {value}, which is not cut") for value in range(30)]
        long = "a label that is far longer than the forty columns of the table"
        file = self.file(SystemFile().variable("A", label=long).variable("B").value_labels(labels, [1]))
        text = self.out("info", file, "a")
        self.assertIn(long, text)
        for value, label in labels:
            self.assertRegex(text, rf"(?m)^ +{int(value)}  {label}$")
        self.assertNotIn("Encoding", text)

    def test_variables_come_in_the_order_of_their_names(self):
        text = self.out("info", self.file(people()), "TOWN", "id")
        self.assertRegex(text, r"(?s)\Atown\n.*\n\nid\n")

    def test_facts_of_a_text(self):
        text = self.out("info", self.file(people()), "town")
        for line in ("Type          text of 1 byte", "Missing       ?", "  u  Ulm", "  ?  not known", "Role          input"):
            self.assertIn(line + "\n", text)

    def test_json_has_these_variables_only(self):
        file = self.file(people())
        whole = json.loads(self.out("info", "--json", file))
        some = json.loads(self.out("info", "--json", file, "pay", "name"))
        self.assertEqual(list(whole), list(some))
        self.assertEqual([whole["variables"][4], whole["variables"][1]], some["variables"])
        whole["variables"] = some["variables"] = []
        self.assertEqual(whole, some)


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
