"""Runs `datasrc diff` as a person does.

    diff_test.py BINARY SAMPLES
"""

import math
import os
import pathlib
import sys
import unittest

import tool_test
from encrypted_test import EncryptedTest
from system_file import SystemFile
from tool_test import people

SAMPLES = pathlib.Path()


class DiffTest(EncryptedTest):
    def differences(self, first, second, *options):
        """Returns the lines of two files that differ."""
        done = self.run_tool("diff", first, second, *options)
        self.assertEqual((1, ""), (done.returncode, done.stderr), done.stdout)
        return done.stdout.splitlines()

    def same(self, first, second, *options):
        self.assertEqual("", self.out("diff", first, second, *options))


def numbers(*values):
    file = SystemFile().variable("A")
    for value in values:
        file.case(value)
    return file


class Equal(DiffTest):
    def test_file_equals_itself(self):
        file = self.file(people())
        self.same(file, file)

    def test_every_sample_equals_its_copy_in_another_form(self):
        for sample in sorted(SAMPLES.glob("mixed_*.quav")):
            with self.subTest(sample=sample.name):
                self.same(SAMPLES / "mixed_little_none.quav", sample)

    def test_compression_is_no_difference(self):
        file = self.file(people())
        for kind in ("none", "bytecode", "zlib"):
            self.same(file, self.convert(file, "--compress", kind, name=f"{kind}.quav"))

    def test_encryption_is_no_difference(self):
        file = self.file(people())
        self.same(file, self.encrypted(file), "--password-file", self.password_file())

    def test_each_not_a_number_equals_each_other(self):
        self.same(self.file(numbers(math.nan), "a"), self.file(numbers(-math.nan), "b"))


class Cases(DiffTest):
    def test_value_is_told_by_case_and_variable(self):
        first = self.file(numbers(1, 2.5, None), "a")
        second = self.file(numbers(1, 3, 0), "b")
        self.assertEqual(
            ["case 1, a: 2.5 -> 3", "case 2, a: system-missing -> 0", "cases: 2 values differ in 2 cases"],
            self.differences(first, second),
        )

    def test_text_is_quoted(self):
        first = self.file(SystemFile().variable("T", 8).case(b"one"), "a")
        second = self.file(SystemFile().variable("T", 8).case(b'"two"'), "b")
        self.assertEqual(r'case 0, t: "one" -> "\"two\""', self.differences(first, second)[0])

    def test_negative_zero_differs_from_zero(self):
        lines = self.differences(self.file(numbers(0.0), "a"), self.file(numbers(-0.0), "b"))
        self.assertEqual("case 0, a: 0 -> -0.0", lines[0])

    def test_first_differences_are_in_the_order_of_cases_and_variables(self):
        first, second = SystemFile(), SystemFile()
        for file, offset in ((first, 0), (second, 100)):
            file.variable("A").variable("B").variable("C")
            for row in range(50_000):
                file.case(row + offset, row, row + offset)
        first, second = self.file(first, "a"), self.file(second, "b")
        lines = self.differences(first, second, "--cases", 3)
        self.assertEqual(["case 0, a", "case 0, c", "case 1, a"], [line.split(":")[0] for line in lines[:3]])
        self.assertEqual(["cases: 100000 values differ in 50000 cases"], lines[3:])
        self.assertEqual(11, len(self.differences(first, second)))
        self.assertEqual(1, len(self.differences(first, second, "--cases", 0)))

    def test_number_of_cases_differs(self):
        lines = self.differences(self.file(numbers(1, 2), "a"), self.file(numbers(1), "b"))
        self.assertEqual(["number of cases: 2 -> 1"], lines)

    def test_variables_are_matched_by_name(self):
        first = self.file(SystemFile().variable("A").variable("B").case(1, 2), "a")
        second = self.file(SystemFile().variable("B").variable("A").case(2, 1), "b")
        self.assertEqual(["variables: their order is another"], self.differences(first, second))


class Dictionaries(DiffTest):
    def test_label_of_the_file_differs(self):
        lines = self.differences(self.file(SystemFile("one").variable("A"), "a"), self.file(SystemFile("two").variable("A"), "b"))
        self.assertEqual(['label: "one" -> "two"'], lines)

    def test_variable_is_only_in_one(self):
        first = self.file(SystemFile().variable("A").variable("B").case(1, 2), "a")
        second = self.file(SystemFile().variable("A").variable("C").case(1, 2), "b")
        self.assertEqual(
            ["variable b: only in the first file", "variable c: only in the second file"],
            self.differences(first, second),
        )

    def test_member_of_a_variable_differs(self):
        first = self.file(SystemFile().variable("A", label="one", missing=[1.0]), "a")
        second = self.file(SystemFile().variable("A", missing=[2.0]), "b")
        lines = self.differences(first, second)
        self.assertEqual('variable a, label: "one" -> null', lines[0])
        self.assertRegex(lines[1], r"\Avariable a, missing: .*1.* -> .*2")

    def test_number_and_text_of_one_name_are_not_compared(self):
        first = self.file(SystemFile().variable("A").case(1), "a")
        second = self.file(SystemFile().variable("A", 8).case(b"1"), "b")
        self.assertNotIn("case 0", "\n".join(self.differences(first, second)))


class Trouble(DiffTest):
    def fails_with_2(self, *arguments):
        return self.fails(2, "diff", *arguments)

    def test_missing_file_is_status_2(self):
        self.assertIn("error 1201", self.fails_with_2(self.file(people()), self.folder / "nothing"))

    def test_damaged_file_is_status_2_after_the_differences(self):
        first = self.file(numbers(*range(9)), "a")
        second = self.file(numbers(0, 5, *range(2, 9)).bytes()[:-3], "b")
        done = self.run_tool("diff", first, second)
        self.assertEqual(2, done.returncode)
        self.assertIn("error 1205", done.stderr)

    def test_wrong_number_is_status_2(self):
        file = self.file(people())
        for number in ("-1", "x", "2.5", ""):
            self.assertIn(f"'{number}' is not a whole number from 0 on", self.fails_with_2(file, file, "--cases", number))

    def test_closed_pipe_is_no_failure(self):
        first = self.file(numbers(*range(5000)), "a")
        second = self.file(numbers(*range(1, 5001)), "b")
        read, write = os.pipe()
        os.close(read)
        done = self.run_tool("diff", first, second, "--cases", 5000, stdout=write)
        os.close(write)
        self.assertEqual((0, ""), (done.returncode, done.stderr))


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
