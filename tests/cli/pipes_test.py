"""Runs `datasrc` with standard streams that are long, closed, or the file of another argument.

    pipes_test.py BINARY
"""

import os
import pathlib
import random
import resource
import signal
import subprocess
import sys
import time
import unittest

import tool_test
from system_file import SystemFile
from tool_test import TIMEOUT, ToolTest, people, unsanitized


class LongStandardInput(ToolTest):
    """Standard input that is longer than what is kept in memory, which is 8 MB."""

    ROWS = 600_000
    TEXT = b"in the clear"

    @classmethod
    def setUpClass(cls):
        # Numbers that do not compress.
        source = random.Random(1)
        cells = [source.randbytes(cls.ROWS) for _ in range(6)] + [b"\xf0" * cls.ROWS, b"?" * cls.ROWS]
        text = [bytes([byte]) * cls.ROWS for byte in cls.TEXT.ljust(16)]
        rows = bytearray(32 * cls.ROWS)
        for place, column in enumerate(cells + cells[::-1][2:] + cells[6:] + text):
            rows[place::32] = column
        cls.plain = SystemFile(cases=-1).variable("A").variable("B").variable("C", 12).bytes() + bytes(rows)

    def setUp(self):
        super().setUp()
        self.temp = self.folder / "temp"
        self.temp.mkdir()
        self.source = self.file(self.plain)

    def started(self, *arguments, preexec_fn=None):
        return subprocess.Popen(
            [tool_test.BINARY, *map(str, arguments)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env={**os.environ, "TMPDIR": str(self.temp)},
            preexec_fn=preexec_fn,
        )

    def through_pipe(self, data, *arguments, preexec_fn=None):
        with self.started(*arguments, preexec_fn=preexec_fn) as process:
            out, error = process.communicate(data, timeout=TIMEOUT)
        self.assertEqual([], os.listdir(self.temp))
        return process.returncode, out.decode(), error.decode()

    @staticmethod
    def with_name(out, file):
        return out.replace('"file": "-"', f'"file": "{file}"').replace("/dev/stdin", str(file))

    def test_it_reads_as_by_name(self):
        tail = ["--rows", f"{self.ROWS - 3}:"]
        for compression in ("none", "bytecode", "zlib"):
            file = self.folder / f"{compression}.quav"
            if compression == "none":
                file = self.source
            else:
                self.out("convert", self.source, file, "--compress", compression, "--no-sync")
            data = file.read_bytes()
            self.assertGreater(len(data), 8 << 20)
            commands = [["cat", "-", *tail], ["verify", "-", "--json"]]
            if compression == "bytecode":
                commands += [["info", "-"], ["stats", "-", "--json"]]
            for command in commands:
                with self.subTest(compression=compression, command=command):
                    named = self.out(*(file if word == "-" else word for word in command))
                    status, out, error = self.through_pipe(data, *command)
                    self.assertEqual((0, named, ""), (status, self.with_name(out, file), error))
        copy = self.folder / "copy.quav"
        self.assertEqual((0, "", ""), self.through_pipe(data, "convert", "-", copy, "--no-sync", "--compress", "none"))
        self.assertEqual("", self.out("diff", file, copy))
        self.assertEqual((0, "", ""), self.through_pipe(data, "diff", "-", self.source))

    def test_arrow_file_reads_as_by_name(self):
        file = self.folder / "o.arrow"
        self.out("convert", self.source, file, "--no-sync")
        copy = self.folder / "o.quav"
        self.assertEqual((0, "", ""), self.through_pipe(file.read_bytes(), "convert", "-", copy, "--no-sync"))
        self.assertEqual("", self.out("diff", self.source, copy))

    def test_bytes_on_disk_are_enciphered_and_disappear(self):
        with self.started("cat", "-", "--rows", ":1") as process:
            process.stdin.write(self.plain)
            process.stdin.flush()
            files = []
            until = time.monotonic() + TIMEOUT
            # The last bytes may still be in the pipe or in a buffer.
            while not files or files[0].stat().st_size < len(self.plain) - (2 << 20):
                self.assertIsNone(process.poll())
                self.assertLess(time.monotonic(), until)
                time.sleep(0.01)
                descriptors = pathlib.Path(f"/proc/{process.pid}/fd").iterdir()
                files = [file for file in descriptors if os.readlink(file).startswith(str(self.temp))]
            self.assertEqual([], os.listdir(self.temp))
            self.assertEqual(1, len({file.stat().st_ino for file in files}))
            stored = files[0].read_bytes()
            out, error = process.communicate(timeout=TIMEOUT)
        self.assertEqual((0, b""), (process.returncode, error))
        self.assertIn(self.TEXT, out)
        # Texts so long that no enciphered bytes hold them by chance.
        for text in (self.TEXT, self.plain[:12], b"\xf0?" + self.TEXT):
            self.assertIn(text, self.plain)
            self.assertFalse(text in stored, text)

    def test_full_disk_is_an_error(self):
        def limit_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (9 << 20, 9 << 20))

        status, out, error = self.through_pipe(self.plain, "stats", "-", preexec_fn=limit_files)
        self.assertEqual((1, ""), (status, out))
        self.assertRegex(error, r"\Adatasrc: error: the input cannot be kept \(File too large\): standard input\n\Z")

    def test_missing_temp_folder_is_an_error(self):
        self.temp.rmdir()
        with self.started("stats", "-") as process:
            out, error = process.communicate(self.plain, timeout=TIMEOUT)
        self.temp.mkdir()
        self.assertEqual((1, b""), (process.returncode, out))
        self.assertRegex(error.decode(), r"(?m)^datasrc: error 1001: ")

    @unsanitized
    def test_memory_does_not_depend_on_it(self):
        def limit_memory():
            resource.setrlimit(resource.RLIMIT_AS, (128 << 20, 128 << 20))

        command = ["cat", "-", "--rows", f"{10 * self.ROWS - 1}:", "--threads", 1]
        with self.started(*command, preexec_fn=limit_memory) as process:
            process.stdin.write(self.plain)
            for _ in range(9):  # 190 MB in all
                process.stdin.write(memoryview(self.plain)[-32 * self.ROWS :])
            out, error = process.communicate(timeout=TIMEOUT)
        self.assertEqual((0, b""), (process.returncode, error))
        self.assertIn(self.TEXT, out)


class Streams(ToolTest):
    def setUp(self):
        super().setUp()
        self.source = self.file(people(), "source.quav")
        self.target = self.file(people(), "target.quav")

    def shell(self, command):
        """Runs `datasrc` with this end of a command line, in which S and T are the two files and F is the folder."""
        paths = {"S": self.source, "T": self.target, "F": self.folder}
        words = [str(paths.get(word, word)) for word in command.split()]
        line = " ".join([f"'{tool_test.BINARY}'", *words])
        done = subprocess.run(["sh", "-c", line], capture_output=True, timeout=TIMEOUT, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()


class ClosedStreams(Streams):
    """A file that is opened must not get the number of a closed stream."""

    def setUp(self):
        super().setUp()
        self.password = self.folder / "password"
        self.password.write_text("unused\n")
        self.password.chmod(0o600)

    def test_messages_do_not_go_into_a_file(self):
        for options in ("", " --in-place"):
            for closed in ("2>&-", "2>&- >&-", "<&- 2>&-"):
                with self.subTest(options=options, closed=closed):
                    target = self.file(people(), "target.quav")
                    self.shell(f"append T S --password-file {self.password} --no-sync{options} {closed}")
                    self.out("verify", target)
                    self.assertEqual(9, self.out("cat", target, "--format", "csv").count("\n"))

    def test_results_do_not_go_into_a_file(self):
        status, _, error = self.shell("append --in-place --no-sync T S S >&-")
        self.assertEqual(1, status)
        self.assertRegex(error, r"\Adatasrc: error: the output cannot be written \(Bad file descriptor\)")
        self.out("verify", self.target)
        self.assertEqual(13, self.out("cat", self.target, "--format", "csv").count("\n"))

    def test_closed_standard_input_is_not_another_file(self):
        before = self.target.read_bytes()
        for command in ("diff S -", "diff - S", "append T -", "append --in-place T -", "info -", "cat -", "convert - F/o.quav"):
            with self.subTest(command=command):
                status, out, error = self.shell(command.replace("F/", f"{self.folder}/") + " <&-")
                self.assertEqual((2 if command.startswith("diff") else 1, ""), (status, out))
                self.assertRegex(error, r"\Adatasrc: error: the input cannot be read \(Bad file descriptor\): standard input\n\Z")
                self.assertEqual(before, self.target.read_bytes())


class RedirectedInput(Streams):
    def test_output_does_not_replace_it(self):
        before = self.target.read_bytes()
        os.link(self.target, self.folder / "link.quav")
        for command in (
            "report - -o T",
            "cat - -o T --format csv",
            "convert - T",
            "convert - T --to csv",
            "append --in-place T -",
            "concat T - --from quav",
            "verify - --salvage T",
        ):
            for redirected in ("T", self.folder / "link.quav"):
                with self.subTest(command=command, redirected=redirected):
                    status, _, error = self.shell(f"{command} < {redirected}")
                    self.assertEqual((1, f"datasrc: error: the output would replace the input file: {self.target}\n"), (status, error))
                    self.assertEqual(before, self.target.read_bytes())

    def test_pipe_is_read_as_often_as_it_is_needed(self):
        for command, rows in (("concat F/o.quav - --from quav", 4), ("concat F/o.quav - S - --from quav", 12)):
            with self.subTest(command=command):
                with open(self.source, "rb") as file:
                    process = subprocess.Popen(["cat"], stdin=file, stdout=subprocess.PIPE)
                words = command.replace("F", str(self.folder)).replace(" S", f" {self.source}").split()
                done = self.run_tool(*words, "--no-sync", stdin=process.stdout)
                process.stdout.close()
                process.wait(TIMEOUT)
                self.assertEqual((0, ""), (done.returncode, done.stderr))
                self.assertEqual(rows + 1, self.out("cat", self.folder / "o.quav", "--format", "csv").count("\n"))


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
