"""Runs `datasrc append` as a person does, and over all samples.

    append_test.py BINARY SAMPLES
"""

import os
import pathlib
import random
import shutil
import signal
import stat
import subprocess
import sys
import time
import unittest

import convert_test
import tool_test
from convert_test import HEADER_SIZE, ConvertTest
from system_file import SystemFile
from tool_test import DATE, MARCH_14, TIMEOUT, people

SAMPLES = pathlib.Path()


class AppendTest(ConvertTest):
    def made(self, text, *options, name="out.quav"):
        return self.convert(self.csv_file(text, "made.csv"), *options, name=name)

    def append(self, file, source, *options):
        self.assertEqual("", self.out("append", file, source, *options))
        return file

    def not_appended(self, file, source, *options, status=1):
        """The one line of a failure that leaves the file, and the folder, as they were."""
        names = sorted(os.listdir(self.folder))
        before = file.read_bytes()
        line = self.fails(status, "append", file, source, *options)
        self.assertEqual(before, file.read_bytes())
        self.assertEqual(names, sorted(os.listdir(self.folder)))
        return line


class Cases(AppendTest):
    def test_csv_in_another_order(self):
        file = self.made("a,b\n1,x\n")
        self.append(file, self.csv_file("B,A\ny,2\n,\n"))
        self.assertEqual([[1, "x"], [2, "y"], [None, ""]], self.case_list(file))
        self.assertEqual(3, self.info(file)["cases"])

    def test_json_lines(self):
        file = self.made("a,b\n1,x\n")
        self.append(file, self.text_file('[2,"y"]\n[null,null]\n', "in.jsonl"))
        self.assertEqual([[1, "x"], [2, "y"], [None, ""]], self.case_list(file))

    def test_a_system_file_in_another_order(self):
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

    def test_a_file_to_itself(self):
        file = self.made("a\n1\n2\n")
        self.append(file, file)
        self.assertEqual([[1], [2], [1], [2]], self.case_list(file))

    def test_dates_as_text_and_as_numbers(self):
        file = self.file(SystemFile().variable("A", print_format=DATE).case(0))
        self.append(file, self.csv_file(f"a\n2024-03-14\n{MARCH_14:.0f}\n-1\n"))
        self.assertEqual([[0], [MARCH_14], [MARCH_14], [-1]], self.case_list(file))

    def test_standard_input(self):
        file = self.made("a\n1\n")
        for text in (b"a\n2\n", b"[3]\n"):
            done = subprocess.run(
                [tool_test.BINARY, "append", file, "-"], input=text, capture_output=True, timeout=TIMEOUT, check=False
            )
            self.assertEqual((0, b""), (done.returncode, done.stderr))
        self.assertEqual([[1], [2], [3]], self.case_list(file))

    def test_no_cases(self):
        file = self.made("a\n1\n")
        self.append(file, self.csv_file("a\n"))
        self.append(file, self.csv_file("a\n"), "--in-place")
        self.assertEqual(([[1]], 1), (self.case_list(file), self.info(file)["cases"]))

    def test_mended_names(self):
        text = "my pay,x,X\n1,2,3\n"
        file = self.made(text)
        self.append(file, self.csv_file(text))
        self.assertEqual([[1, 2, 3]] * 2, self.case_list(file))

    def test_pieces_are_one_whole(self):
        seed = random.randrange(1 << 32)
        source = random.Random(seed)
        header = "number,word,long,day\n"
        rows = [
            f"{source.randint(0, 300)},{source.choice(['', 'x', 'words'])},{'ü' * source.randint(0, 400)},2024-03-14\n"
            for _ in range(200)
        ]
        # The first row has the widest text, so that every piece fits.
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

    def test_counts_that_are_wrong_or_unknown(self):
        for cases in (-1, 0, 1, 7):
            for in_place in ([], ["--in-place"]):
                with self.subTest(cases=cases, in_place=in_place):
                    file = self.file(SystemFile(cases=cases).variable("A").case(1).case(2).case(3))
                    self.append(file, self.csv_file("a\n4\n"), *in_place)
                    self.assertEqual(([[1], [2], [3], [4]], 4), (self.case_list(file), self.info(file)["cases"]))

    def test_samples(self):
        for sample in sorted(SAMPLES.glob("*.quav")):
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

    def test_samples_in_zlib_blocks(self):
        for sample in sorted(SAMPLES.glob("*.quav")):
            for in_place in ([], ["--in-place"]):
                with self.subTest(sample=sample.name, in_place=in_place):
                    before = self.raw_cases(sample)
                    file = self.convert(sample, "--compress", "zlib")
                    # The samples themselves may be in another encoding than what is made of them.
                    self.append(file, self.convert(sample, name="other.quav"), *in_place)
                    self.append(file, self.text_file(before, "in.jsonl"), *in_place)
                    self.assertEqual("zlib", self.info(file)["compression"])
                    self.assertEqual(self.contents(sample), self.contents(file))
                    self.assertEqual(3 * before, self.raw_cases(file))

    def test_a_zlib_file_that_is_cut(self):
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
    def test_system_files(self):
        file = self.made("a,b\n1,xyz\n")
        for text, trouble in (
            ("a\n1\n", "there is no variable b"),
            ("a,b,c\n1,xyz,2\n", "the variable c is one too many"),
            ("a,b\nx,xyz\n", "the variable a is text of 1 bytes and should be a number"),
            ("a,b\n1,2\n", "the variable b is a number and should be text of 3 bytes"),
            ("a,b\n1,wxyz\n", "the variable b is text of 4 bytes and should be text of 3 bytes"),
        ):
            with self.subTest(text=text):
                other = self.made(text, name="other.quav")
                line = self.not_appended(file, other)
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}: .*other\.quav\n\Z")

    def test_csv(self):
        file = self.made("a,b\n1,xyz\n")
        for text, trouble in (
            ("a\n1\n", r"the header has no column for the variable b \(at line 1\)"),
            ("a,b,c\n", r"the header names c, and there is no such variable \(at line 1\)"),
            ("a,b\n2,x\nx,y\n", r"the value 'x' of a is no number \(at line 3\)"),
            ("a,b\n2,x\n3,wxyz\n", r"the value 'wxyz' of b is too long for the column \(at line 3\)"),
            ("a,b\n2\n", r"there are 1 fields where the header names 2 \(at line 2\)"),
        ):
            with self.subTest(text=text):
                line = self.not_appended(file, self.csv_file(text))
                self.assertRegex(line, rf"\Adatasrc: error: {trouble}: .*in\.csv\n\Z")

    def test_json_lines(self):
        file = self.made("a,b\n1,xyz\n")
        line = self.not_appended(file, self.text_file('[1,"x"]\n[1]\n', "in.jsonl"))
        self.assertRegex(line, r"there are 1 values for the 2 variables .* \(at line 2\): .*in\.jsonl\n\Z")

    def test_another_encoding(self):
        if not (SAMPLES / "cp1252.quav").exists():
            self.skipTest("there is no such sample")
        file = self.folder / "file.quav"
        shutil.copy(SAMPLES / "cp1252.quav", file)
        names = [one["name"] for one in self.info(file)["variables"]]
        texts = [one["type"] != 0 for one in self.info(file)["variables"]]
        row = ",".join("Ω" if is_text else "1" for is_text in texts)
        self.assertIn("the encoding", self.not_appended(file, self.csv_file(",".join(names) + f"\n{row}\n")))
        other = self.folder / "other.quav"
        tree = {"variables": [{"name": one["name"], "type": int(one["type"])} for one in self.info(file)["variables"]]}
        self.convert(self.csv_file(",".join(names) + "\n"), "--dictionary", self.dictionary(tree), name=other.name)
        self.assertIn("cannot be brought into", self.not_appended(file, other))

    def test_the_file_in_place_is_not_its_own_input(self):
        file = self.made("a\n1\n")
        self.assertIn("would replace", self.not_appended(file, file, "--in-place"))


class Files(AppendTest):
    def test_a_file_that_is_cut_inside_a_case(self):
        contents = people().bytes()
        source = self.csv_file("id,name,town,born,pay\n1,x,y,,\n")
        for cut in (1, 8, 20):
            for in_place in ([], ["--in-place"]):
                with self.subTest(cut=cut, in_place=in_place):
                    file = self.file(contents[:-cut])
                    line = self.not_appended(file, source, *in_place)
                    self.assertRegex(line, rf"\Adatasrc: error 1205: .*: {file}\n\Z")

    def test_the_other_byte_order(self):
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

    def test_a_file_without_variables(self):
        self.assertIn("takes no cases", self.not_appended(self.file(SystemFile()), self.csv_file("a\n1\n")))

    def test_what_is_no_system_file(self):
        file = self.csv_file("some text that is long enough\n" * 10, "text.quav")
        self.assertIn("error 1204", self.not_appended(file, self.csv_file("a\n1\n")))
        line = self.fails(1, "append", self.folder / "no.quav", self.csv_file("a\n1\n"))
        self.assertRegex(line, r"error 1201: .*No such file")

    def test_missing_input(self):
        self.assertRegex(self.not_appended(self.made("a\n1\n"), self.folder / "no.csv"), r"error 1201: .*: .*no\.csv")

    def test_the_mode_and_a_link_stay(self):
        file = self.made("a\n1\n")
        file.chmod(0o640)
        link = self.folder / "link.quav"
        link.symlink_to(file.name)
        self.append(link, self.csv_file("a\n2\n"))
        self.assertTrue(link.is_symlink())
        self.assertEqual(0o640, stat.S_IMODE(file.stat().st_mode))
        self.assertEqual([[1], [2]], self.case_list(file))

    def test_in_place_keeps_the_very_file(self):
        file = self.made("a\n1\n")
        number = file.stat().st_ino
        self.append(file, self.csv_file("a\n2\n"), "--in-place")
        self.assertEqual(number, file.stat().st_ino)
        self.append(file, self.csv_file("a\n3\n"))
        self.assertNotEqual(number, file.stat().st_ino)

    def test_a_full_disk(self):
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

    def test_a_killed_tool_leaves_the_file_whole(self):
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
        self.assertIn(old.read_bytes()[HEADER_SIZE:], seen, "none was killed in the middle of its work")


class Usage(AppendTest):
    def test_help(self):
        text = self.out("help", "append")
        for option in ("--from", "--in-place"):
            self.assertIn(f"  {option} ", text)
        self.assertRegex(self.out("help"), r"(?m)^  append ")

    def test_wrong_command_lines(self):
        file = self.made("a\n1\n")
        for arguments in ([], [file], [file, file, "--from", "xml"], [file, file, file]):
            with self.subTest(arguments=arguments):
                self.fails(2, "append", *arguments)


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
