"""Runs `datasrc append` as a person does, and on all samples.

    append_test.py BINARY SAMPLES
"""

import collections
import fcntl
import os
import pathlib
import random
import shutil
import signal
import stat
import struct
import subprocess
import sys
import termios
import time
import unittest

import convert_test
import tool_test
from convert_test import HEADER_SIZE, ConvertTest
from system_file import SystemFile, late_variable
from tool_test import DATE, MARCH_14, TIMEOUT, good_samples, people

SAMPLES = pathlib.Path()


class AppendTest(ConvertTest):
    def made(self, text, *options, name="out.quav"):
        return self.convert(self.csv_file(text, "made.csv"), *options, name=name)

    def append(self, file, source, *options):
        self.assertEqual("", self.out("append", file, source, *options))
        return file

    def not_appended(self, file, source, *options, status=1):
        """Returns the one line of a failure that changes neither the file nor the folder."""
        names = sorted(os.listdir(self.folder))
        before = file.read_bytes()
        line = self.fails(status, "append", file, source, *options)
        self.assertEqual(before, file.read_bytes())
        self.assertEqual(names, sorted(os.listdir(self.folder)))
        return line


class Cases(AppendTest):
    def test_csv_columns_may_be_in_any_order(self):
        file = self.made("a,b\n1,x\n")
        self.append(file, self.csv_file("B,A\ny,2\n,\n"))
        self.assertEqual([[1, "x"], [2, "y"], [None, ""]], self.case_list(file))
        self.assertEqual(3, self.info(file)["cases"])

    def test_json_lines_are_appended(self):
        file = self.made("a,b\n1,x\n")
        self.append(file, self.text_file('[2,"y"]\n[null,null]\n', "in.jsonl"))
        self.assertEqual([[1, "x"], [2, "y"], [None, ""]], self.case_list(file))

    def test_system_file_columns_may_be_in_any_order(self):
        file = self.made("a,text,b\n1,0123456789ab,2\n")
        other = self.made("B,A,Text\n20,10,cdefghijklmn\n", name="other.quav")
        self.append(file, other)
        self.assertEqual([[1, "0123456789ab", 2], [10, "cdefghijklmn", 20]], self.case_list(file))

    def test_very_long_text_that_is_no_utf8_is_mended(self):
        file = self.file(self.very_long_text(b"first"), name="out.quav")
        source = self.file(self.very_long_text(b"x" * 100 + b"\xff" + b"y" * 180))
        for count in (1, 2):
            done = self.run_tool("append", file, source, *(["--in-place"] if count == 2 else []))
            self.assertEqual(0, done.returncode, done.stderr)
            self.assertRegex(done.stderr, r"\Adatasrc: warning: values with bytes that are no text in UTF-8, .*: 1: .*out\.quav\n\Z")
            self.assertEqual([["first"]] + [["x" * 100 + "\ufffd" + "y" * 180]] * count, self.case_list(file))

    def test_file_can_be_appended_to_itself(self):
        file = self.made("a\n1\n2\n")
        self.append(file, file)
        self.assertEqual([[1], [2], [1], [2]], self.case_list(file))

    def test_dates_may_be_text_or_numbers(self):
        file = self.file(SystemFile().variable("A", print_format=DATE).case(0))
        self.append(file, self.csv_file(f"a\n2024-03-14\n{MARCH_14:.0f}\n-1\n"))
        self.assertEqual([[0], [MARCH_14], [MARCH_14], [-1]], self.case_list(file))

    def test_standard_input_is_appended(self):
        file = self.made("a\n1\n")
        for text in (b"a\n2\n", b"[3]\n"):
            done = subprocess.run(
                [tool_test.BINARY, "append", file, "-"], input=text, capture_output=True, timeout=TIMEOUT, check=False
            )
            self.assertEqual((0, b""), (done.returncode, done.stderr))
        self.assertEqual([[1], [2], [3]], self.case_list(file))

    def test_input_without_cases_changes_nothing(self):
        file = self.made("a\n1\n")
        self.append(file, self.csv_file("a\n"))
        self.append(file, self.csv_file("a\n"), "--in-place")
        self.assertEqual(([[1]], 1), (self.case_list(file), self.info(file)["cases"]))

    def test_header_may_have_the_texts_before_mending(self):
        text = "my pay,x,X\n1,2,3\n"
        file = self.made(text)
        self.append(file, self.csv_file(text))
        self.assertEqual([[1, 2, 3]] * 2, self.case_list(file))

    def test_appended_pieces_equal_the_whole_file(self):
        seed = random.randrange(1 << 32)
        source = random.Random(seed)
        header = "number,word,long,day\n"
        rows = [
            f"{source.randint(0, 300)},{source.choice(['', 'x', 'words'])},{'ü' * source.randint(0, 400)},2024-03-14\n"
            for _ in range(200)
        ]
        # The first row has the widest text, so every piece fits.
        rows.insert(0, f"-1.5,{'w' * 9},{'ü' * 400},1999-12-31\n")
        for kind in ("none", "bytecode", "zlib"):
            for in_place in ([], ["--in-place"]):
                with self.subTest(kind=kind, in_place=in_place, seed=seed):
                    whole = self.made(header + "".join(rows), "--compress", kind, name="whole.quav")
                    file = self.made(header + rows[0], "--compress", kind)
                    rest = rows[1:]
                    while rest:
                        count = source.randint(1, 60)
                        self.append(file, self.csv_file(header + "".join(rest[:count])), *in_place)
                        rest = rest[count:]
                    self.assertEqual(self.raw_cases(whole), self.raw_cases(file))
                    self.assertEqual(len(rows), self.info(file)["cases"])

    def test_wrong_or_unknown_count_is_corrected(self):
        for cases in (-1, 0, 1, 7):
            for in_place in ([], ["--in-place"]):
                with self.subTest(cases=cases, in_place=in_place):
                    file = self.file(SystemFile(cases=cases).variable("A").case(1).case(2).case(3))
                    self.append(file, self.csv_file("a\n4\n"), *in_place)
                    self.assertEqual(([[1], [2], [3], [4]], 4), (self.case_list(file), self.info(file)["cases"]))

    def test_samples_are_appended_to_themselves(self):
        for sample in good_samples(SAMPLES):
            with self.subTest(sample=sample.name):
                before = self.raw_cases(sample)
                file = self.folder / "file.quav"
                shutil.copy(sample, file)
                self.append(file, sample)
                self.assertEqual(before + before, self.raw_cases(file))
                old = self.contents(sample)
                new = self.contents(file)
                self.assertEqual(old, new)
                self.append(file, self.csv_file(self.out("cat", "--format", "csv", sample)))
                self.append(file, self.text_file(before, "in.jsonl"))
                self.assertEqual(4 * before, self.raw_cases(file))

    def test_zlib_samples_are_appended_to_themselves(self):
        for sample in good_samples(SAMPLES):
            for in_place in ([], ["--in-place"]):
                with self.subTest(sample=sample.name, in_place=in_place):
                    before = self.raw_cases(sample)
                    file = self.convert(sample, "--compress", "zlib")
                    # The samples themselves may be in another encoding than the files made from them.
                    self.append(file, self.convert(sample, name="other.quav"), *in_place)
                    self.append(file, self.text_file(before, "in.jsonl"), *in_place)
                    self.assertEqual("zlib", self.info(file)["compression"])
                    self.assertEqual(self.contents(sample), self.contents(file))
                    self.assertEqual(3 * before, self.raw_cases(file))

    def test_truncated_zlib_file_is_error_1205(self):
        file = self.made("a,b\n" + "".join(f"{i},text {i:06}\n" for i in range(200)), "--compress", "zlib")
        contents = file.read_bytes()
        source = self.csv_file("a,b\n1,x\n")
        for cut in (200, 400):
            for in_place in ([], ["--in-place"]):
                with self.subTest(cut=cut, in_place=in_place):
                    file.write_bytes(contents[:-cut])
                    line = self.not_appended(file, source, *in_place)
                    self.assertRegex(line, rf"\Adatasrc: error 1205: .*: {file}\n\Z")

    def contents(self, file):
        return {name: value for name, value in self.info(file).items() if name not in convert_test.OF_THE_FILE}


class Differences(AppendTest):
    def test_system_file_with_other_variables_is_an_error(self):
        file = self.made("a,b\n1,xyz\n")
        for text, trouble in (
            ("a\n1\n", "there is no variable b"),
            ("a,b,c\n1,xyz,2\n", "the variable c is not expected"),
            ("a,b\nx,xyz\n", "the variable a is text of 1 bytes but should be a number"),
            ("a,b\n1,2\n", "the variable b is a number but should be text of 3 bytes"),
            ("a,b\n1,wxyz\n", "the variable b is text of 4 bytes but should be text of 3 bytes"),
        ):
            with self.subTest(text=text):
                other = self.made(text, name="other.quav")
                line = self.not_appended(file, other)
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}: .*other\.quav\n\Z")

    def test_csv_that_does_not_fit_is_an_error(self):
        file = self.made("a,b\n1,xyz\n")
        for text, trouble in (
            ("a\n1\n", r"the header has no column for the variable b \(at line 1\)"),
            ("a,b,c\n", r"the header names c, which is not a variable \(at line 1\)"),
            (
                "c,A,a,d\n",
                r"the header names c, which is not a variable; the header names a twice; the header names d, which is "
                r"not a variable; the header has no column for the variable b \(at line 1\)",
            ),
            ("a,b\n2,x\nx,y\n", r"the value 'x' of a is not a number \(at line 3\)"),
            ("a,b\n2,x\n3,wxyz\n", r"the value 'wxyz' of b is too long for the column \(at line 3\)"),
            ("a,b\n2\n", r"there are 1 fields, but the header has 2 \(at line 2\)"),
        ):
            with self.subTest(text=text):
                line = self.not_appended(file, self.csv_file(text))
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}: .*in\.csv\n\Z")

    def test_json_line_with_too_few_values_is_an_error(self):
        file = self.made("a,b\n1,xyz\n")
        line = self.not_appended(file, self.text_file('[1,"x"]\n[1]\n', "in.jsonl"))
        self.assertRegex(line, r"there are 1 values for the 2 variables .* \(at line 2\): .*in\.jsonl\n\Z")

    def test_text_that_cannot_be_converted_is_an_error(self):
        if not (SAMPLES / "cp1252.quav").exists():
            self.skipTest("the sample cp1252.quav does not exist")
        file = self.folder / "file.quav"
        shutil.copy(SAMPLES / "cp1252.quav", file)
        names = [one["name"] for one in self.info(file)["variables"]]
        texts = [one["type"] != 0 for one in self.info(file)["variables"]]
        row = ",".join("Ω" if is_text else "1" for is_text in texts)
        self.assertIn("the encoding", self.not_appended(file, self.csv_file(",".join(names) + f"\n{row}\n")))
        other = self.folder / "other.quav"
        tree = {"variables": [{"name": one["name"], "type": int(one["type"])} for one in self.info(file)["variables"]]}
        self.convert(self.csv_file(",".join(names) + "\n"), "--dictionary", self.dictionary(tree), name=other.name)
        self.assertIn("cannot be converted to", self.not_appended(file, other))

    def test_system_file_in_another_encoding_is_added_as_json_lines(self):
        file = self.made("a,b\né,1\n")
        other = self.convert(file, "--encoding", "windows-1252", name="other.quav")
        for target, source in ((file, other), (other, file)):
            with self.subTest(target=target.name):
                self.assertIn("here: convert it to JSON lines first", self.not_appended(target, source))
                lines = self.convert(source, name="lines.jsonl")
                before = self.out("cat", target, "--format", "jsonl")
                self.out("append", target, lines)
                self.assertEqual(before + lines.read_text(encoding="utf-8"), self.out("cat", target, "--format", "jsonl"))

    def test_file_in_place_cannot_be_its_own_input(self):
        file = self.made("a\n1\n")
        self.assertIn("would replace", self.not_appended(file, file, "--in-place"))


class Files(AppendTest):
    def test_file_truncated_inside_a_case_is_error_1205(self):
        contents = people().bytes()
        source = self.csv_file("id,name,town,born,pay\n1,x,y,,\n")
        for cut in (1, 8, 20):
            for in_place in ([], ["--in-place"]):
                with self.subTest(cut=cut, in_place=in_place):
                    file = self.file(contents[:-cut])
                    line = self.not_appended(file, source, *in_place)
                    self.assertRegex(line, rf"\Adatasrc: error 1205: .*: {file}\n\Z")

    def test_reversed_byte_order_is_rewritten_but_refused_in_place(self):
        for name in ("mixed_big_none", "mixed_big_bytecode"):
            sample = SAMPLES / f"{name}.quav"
            with self.subTest(sample=name):
                self.assertTrue(sample.exists())
                file = self.folder / "file.quav"
                shutil.copy(sample, file)
                before = self.raw_cases(sample)
                self.assertIn("error 1210", self.not_appended(file, sample, "--in-place"))
                self.append(file, sample)
                self.assertEqual(before + before, self.raw_cases(file))
                self.assertEqual("native", self.info(file)["byte_order"])
                self.assertEqual(self.info(sample)["compression"], self.info(file)["compression"])

    def test_file_without_variables_is_refused(self):
        self.assertIn("cases cannot be added", self.not_appended(self.file(SystemFile()), self.csv_file("a\n1\n")))

    def test_file_with_variables_after_other_records_is_refused(self):
        file = self.file(late_variable())
        self.assertIn("the cases cannot be read", self.not_appended(file, self.csv_file("a\n1\n")))
        self.assertIn("the cases cannot be read", self.not_appended(self.made("a\n1\n"), file))

    def test_text_file_and_missing_file_are_errors(self):
        file = self.csv_file("some text that is long enough\n" * 10, "text.quav")
        self.assertIn("error 1204", self.not_appended(file, self.csv_file("a\n1\n")))
        line = self.fails(1, "append", self.folder / "no.quav", self.csv_file("a\n1\n"))
        self.assertRegex(line, r"error 1201: .*No such file")

    def test_missing_input_is_error_1201(self):
        self.assertRegex(self.not_appended(self.made("a\n1\n"), self.folder / "no.csv"), r"error 1201: .*: .*no\.csv")

    def test_mode_and_link_are_kept(self):
        file = self.made("a\n1\n")
        file.chmod(0o640)
        link = self.folder / "link.quav"
        link.symlink_to(file.name)
        self.append(link, self.csv_file("a\n2\n"))
        self.assertTrue(link.is_symlink())
        self.assertEqual(0o640, stat.S_IMODE(file.stat().st_mode))
        self.assertEqual([[1], [2]], self.case_list(file))

    def test_in_place_option_keeps_the_inode(self):
        file = self.made("a\n1\n")
        number = file.stat().st_ino
        self.append(file, self.csv_file("a\n2\n"), "--in-place")
        self.assertEqual(number, file.stat().st_ino)
        self.append(file, self.csv_file("a\n3\n"))
        self.assertNotEqual(number, file.stat().st_ino)

    def test_full_disk_is_error_1202_and_keeps_the_file(self):
        rows = "a,b\n" + "".join(f"{i},text {i:06}\n" for i in range(20_000))
        source = self.csv_file(rows)
        for kind in ("none", "bytecode", "zlib"):
            file = self.made("a,b\n1,text 000000\n", "--compress", kind)
            for blocks in (0, 1, 64):
                with self.subTest(kind=kind, blocks=blocks):
                    before = file.read_bytes()
                    command = f"trap '' XFSZ; ulimit -f {blocks}; exec '{tool_test.BINARY}' append '{file}' '{source}'"
                    done = subprocess.run(["sh", "-c", command], capture_output=True, timeout=TIMEOUT, check=False)
                    self.assertEqual(1, done.returncode)
                    self.assertRegex(
                        done.stderr.decode(), rf"\Adatasrc: error 1202: .*\(File too large\).*: {file}\n\Z"
                    )
                    self.assertEqual(before, file.read_bytes())
                    self.assertEqual(["in.csv", "made.csv", "out.quav"], sorted(os.listdir(self.folder)))

    def test_killed_tool_leaves_a_complete_file(self):
        seed = random.randrange(1 << 32)
        source = random.Random(seed)
        rows = "a,b\n" + "".join(f"{i},text {i:06}\n" for i in range(60_000))
        added = self.csv_file(rows)
        old = self.made("a,b\n1,text 000000\n")
        start = time.monotonic()
        new = self.folder / "new.quav"
        shutil.copy(old, new)
        self.append(new, added)
        duration = time.monotonic() - start
        expected = {path.read_bytes()[HEADER_SIZE:] for path in (old, new)}
        seen = set()
        file = self.folder / "file.quav"
        for _ in range(30):
            shutil.copy(old, file)
            process = subprocess.Popen([tool_test.BINARY, "append", file, added], stderr=subprocess.DEVNULL)
            time.sleep(source.uniform(0, 1.3 * duration))
            process.send_signal(signal.SIGKILL)
            process.wait(TIMEOUT)
            contents = file.read_bytes()[HEADER_SIZE:]
            self.assertIn(contents, expected, f"seed {seed}")
            seen.add(contents)
        self.assertIn(old.read_bytes()[HEADER_SIZE:], seen, "no process was killed in the middle of its work")


class Together(AppendTest):
    """Several programs that work on one file."""

    def start(self, file, *options, stdin=subprocess.DEVNULL):
        return subprocess.Popen(
            [tool_test.BINARY, "append", file, *options], stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )

    def wait_for_the_lock(self, file, process):
        end = time.monotonic() + TIMEOUT
        while time.monotonic() < end and process.poll() is None:
            with open(file, "rb") as stream:
                try:
                    fcntl.flock(stream, fcntl.LOCK_EX | fcntl.LOCK_NB)
                except BlockingIOError:
                    return
            time.sleep(0.001)
        self.fail("the file is not locked")

    def send(self, process, data):
        """Returns when the process has read the data from its standard input."""
        process.stdin.write(data)
        process.stdin.flush()
        end = time.monotonic() + TIMEOUT
        while struct.unpack("i", fcntl.ioctl(process.stdin, termios.FIONREAD, bytes(4))) != (0,):
            self.assertLess(time.monotonic(), end)
            time.sleep(0.001)

    def test_appends_at_once_keep_the_cases_of_each(self):
        for kind in ("none", "bytecode", "zlib"):
            for options in ([], ["--in-place"], ["--no-sync"], None):
                with self.subTest(kind=kind, options=options):
                    file = self.made("a,b\n0,x\n", "--compress", kind)
                    running = []
                    for number in range(1, 9):
                        rows = "a,b\n" + f"{number},y\n" * 500
                        mixed = ["--in-place"] if number % 2 else []
                        source = self.csv_file(rows, f"in{number}.csv")
                        running.append(self.start(file, source, *(mixed if options is None else options)))
                    for process in running:
                        self.assertEqual((b"", b""), process.communicate(timeout=TIMEOUT))
                        self.assertEqual(0, process.returncode)
                    counts = collections.Counter(case[0] for case in self.case_list(file))
                    self.assertEqual({0: 1, **{number: 500 for number in range(1, 9)}}, counts)
                    self.assertEqual(4001, self.info(file)["cases"])

    def test_second_append_waits_for_the_first(self):
        file = self.made("a\n1\n")
        first = self.start(file, "-", stdin=subprocess.PIPE)
        self.wait_for_the_lock(file, first)
        second = self.start(file, self.csv_file("a\n3\n"))
        with self.assertRaises(subprocess.TimeoutExpired):
            second.communicate(timeout=0.3)
        first.communicate(b"a\n2\n", timeout=TIMEOUT)
        second.communicate(timeout=TIMEOUT)
        self.assertEqual((0, 0), (first.returncode, second.returncode))
        self.assertEqual([[1], [2], [3]], self.case_list(file))

    def test_lock_of_a_killed_append_is_gone(self):
        file = self.made("a\n1\n")
        first = self.start(file, "-", stdin=subprocess.PIPE)
        self.wait_for_the_lock(file, first)
        first.kill()
        first.communicate()
        self.append(file, self.csv_file("a\n2\n"))
        self.assertEqual([[1], [2]], self.case_list(file))

    def test_change_by_another_program_is_an_error(self):
        def add_a_byte(file):
            with open(file, "ab") as stream:
                stream.write(b"x")

        def touch(file):
            os.utime(file)

        def replace(file):
            shutil.copy(file, file.with_suffix(".new"))
            os.rename(file.with_suffix(".new"), file)

        for change in (add_a_byte, touch, replace, os.unlink):
            for sample, options, late in (
                (None, [], False),
                (None, [], True),
                (None, ["--in-place"], False),
                ("mixed_big_none", [], False),
                ("mixed_big_none", [], True),
            ):
                with self.subTest(change=change.__name__, sample=sample, options=options, late=late):
                    file = self.made("a\n1\n")
                    if sample:
                        shutil.copy(SAMPLES / f"{sample}.quav", file)
                    header, rows = self.out("cat", "--format", "csv", file).encode().split(b"\n", 1)
                    process = self.start(file, "-", *options, stdin=subprocess.PIPE)
                    # With a part of the header, the tool has read FILE. With rows one after another, it adds cases.
                    self.send(process, header[:1])
                    if late:
                        self.send(process, header[1:] + b"\n" + rows)
                        self.send(process, rows)
                    change(file)
                    before = file.read_bytes() if file.exists() else None
                    _, errors = process.communicate(rows if late else header[1:] + b"\n" + rows, timeout=TIMEOUT)
                    self.assertEqual(1, process.returncode)
                    self.assertRegex(
                        errors.decode(), r"\Adatasrc: error: another program changed the file .*: .*out\.quav\n\Z"
                    )
                    self.assertEqual(before, file.read_bytes() if file.exists() else None)
                    file.unlink(missing_ok=True)
                    self.assertEqual(["made.csv"], os.listdir(self.folder))

    def test_file_system_entry_that_is_no_file_is_refused_at_once(self):
        pipe = self.folder / "pipe.quav"
        os.mkfifo(pipe)
        for path in (pipe, self.folder):
            self.assertIn("error 1201", self.fails(1, "append", path, self.csv_file("a\n1\n")))

    @unittest.skipUnless(os.geteuid() == 0, "only a privileged user can give files away")
    def test_owner_and_mode_are_kept(self):
        file = self.made("a\n1\n")
        for owner, group, mode in ((12345, 54321, 0o640), (12345, 0, 0o4604), (0, 0, 0o600)):
            with self.subTest(owner=owner, group=group):
                os.chown(file, owner, group)
                file.chmod(mode)
                self.append(file, self.csv_file("a\n2\n"))
                self.convert(self.csv_file("a\n1\n"))
                status = file.stat()
                self.assertEqual((owner, group, mode), (status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode)))

    @unittest.skipUnless(os.geteuid() == 0, "only a privileged user can become another")
    def test_owner_that_may_not_be_set_is_not_kept(self):
        other = 65534
        self.folder.chmod(0o777)
        binary = self.folder / "datasrc"
        shutil.copy(tool_test.BINARY, binary)
        libraries = pathlib.Path(tool_test.BINARY).parent.parent / "lib"
        for library in libraries.glob("libdatasrc.so*"):
            shutil.copy(library, self.folder / library.name)
        file = self.made("a\n1\n")
        file.chmod(0o6644)
        done = subprocess.run(
            [binary, "append", file, "-"],
            input=b"a\n2\n",
            capture_output=True,
            timeout=TIMEOUT,
            check=False,
            user=other,
            group=other,
            extra_groups=[],
            env={**os.environ, "LD_LIBRARY_PATH": str(self.folder)},
        )
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        status = file.stat()
        self.assertEqual((other, other, 0o644), (status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode)))
        self.assertEqual([[1], [2]], self.case_list(file))


class Usage(AppendTest):
    def test_help_lists_the_options(self):
        text = self.out("help", "append")
        for option in ("--from", "--in-place", "--no-sync"):
            self.assertIn(f"  {option} ", text)
        self.assertRegex(self.out("help"), r"(?m)^  append ")

    def test_wrong_command_line_exits_with_status_2(self):
        file = self.made("a\n1\n")
        for arguments in ([], [file], [file, file, "--from", "xml"]):
            with self.subTest(arguments=arguments):
                self.fails(2, "append", *arguments)


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
