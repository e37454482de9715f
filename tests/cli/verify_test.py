"""Runs `datasrc verify` as a person does: on sound files, on samples, and on files that are damaged here.

    verify_test.py BINARY SAMPLES
"""

import json
import os
import pathlib
import random
import re
import struct
import sys
import unittest

import tool_test
from encrypted_test import EncryptedTest
from system_file import SystemFile
from tool_test import IS_SANITIZED, people

SAMPLES = pathlib.Path()

# What the library reads past by design.
READ_PAST = {
    "bad/weight_index.quav",
    "bad/attributes_unreadable.quav",
    "bad/names_end_in_tab.quav",
    "bad/bad_date.quav",
    "bad/nominal_case_size.quav",
    "found/second_record14_bad.quav",
    "found/convert_loses_text.quav",
}


def many_numbers(cases, columns=3):
    """A file of numbers that no case code stands for, so that every case has the same size."""
    file = SystemFile()
    for column in range(columns):
        file.variable(f"V{column}")
    for row in range(cases):
        file.case(*[row + column / 8 + 0.0625 for column in range(columns)])
    return file


def blocks(data):
    """The places of the heads of the zlib blocks, and their packed sizes."""
    found = []
    place = data.find(b"ZBLK")
    while data[place : place + 4] == b"ZBLK":
        packed = struct.unpack_from("=I", data, place + 16)[0]
        found.append((place, packed))
        place += 28 + packed
    return found


class VerifyTest(EncryptedTest):
    def verified(self, file, *options):
        """Returns the exit status and the object; nothing may be on standard error."""
        done = self.run_tool("verify", "--json", *options, file)
        self.assertEqual("", done.stderr)
        self.assertIn(done.returncode, (0, 1))
        found = json.loads(done.stdout)
        self.assertEqual(done.returncode, 1 if found["faults"] else 0)
        return found

    def damaged(self, data, name="damaged.quav"):
        path = self.folder / name
        path.write_bytes(data)
        return path

    def zlib_file(self, cases=40_000):
        """A file of several blocks."""
        plain = self.file(many_numbers(cases), "plain.quav")
        self.out("convert", "--compress", "zlib", plain, self.folder / "packed.quav")
        return self.folder / "packed.quav"

    def lines(self, file, *options):
        return self.out("cat", "--format", "jsonl", "--raw", *options, file).splitlines()


class Samples(VerifyTest):
    def test_sound_samples_have_no_fault(self):
        for sample in sorted(SAMPLES.glob("*.quav")):
            with self.subTest(sample=sample.name):
                found = self.verified(sample)
                faults = found.pop("faults")
                if sample.stem == "count_too_large":
                    self.assertEqual([1204], [fault["number"] for fault in faults])
                    self.assertEqual((7, 100, 7), (found["cases"], found["declared_cases"], found["readable_cases"]))
                    continue
                self.assertEqual([], faults)
                self.assertEqual([] if sample.stem != "repaired_names" else [1722], sorted({one["number"] for one in found["warnings"]}))
                lines = sample.with_suffix(".jsonl")
                if lines.exists():
                    self.assertEqual(len(lines.read_text(encoding="utf-8").splitlines()), found["cases"])

    def test_damaged_samples_have_a_fault_with_its_place_or_a_warning(self):
        for folder in ("bad", "fatal", "found"):
            for sample in sorted((SAMPLES / folder).glob("*.quav")):
                name = f"{folder}/{sample.name}"
                with self.subTest(sample=name):
                    found = self.verified(sample)
                    said = found["warnings"] if name in READ_PAST else found["faults"]
                    self.assertTrue(said)
                    self.assertFalse(said[0]["byte"] is None and said[0]["case"] is None)
                    if name in READ_PAST:
                        self.assertEqual([], found["faults"])

    def test_numbers_of_the_faults_are_those_of_opening(self):
        expected = json.loads((SAMPLES / "bad" / "bad.json").read_text(encoding="utf-8"))
        for name, about in expected.items():
            if "error" not in about:
                continue
            with self.subTest(sample=name):
                found = self.verified(SAMPLES / "bad" / name)
                self.assertIn(about["error"], [fault["number"] for fault in found["faults"]])
                if about["at"] == "cases":
                    self.assertEqual(found["readable_cases"], found["faults"][-1]["case"])

    def test_flipped_bit_never_ends_the_tool(self):
        seed = random.SystemRandom().getrandbits(32)
        choice = random.Random(seed)
        samples = sorted(SAMPLES.glob("*.quav"))
        for _ in range(20 if IS_SANITIZED else 60):
            sample = choice.choice(samples)
            data = bytearray(sample.read_bytes()[:60_000])
            bit = choice.randrange(len(data) * 8)
            data[bit // 8] ^= 1 << bit % 8
            with self.subTest(seed=seed, sample=sample.name, bit=bit):
                self.verified(self.damaged(data))


class Text(VerifyTest):
    def test_sound_file_has_no_faults(self):
        file = self.file(people())
        self.assertEqual(f"{file}: system file, 4 readable cases\nno faults\n", self.out("verify", file))

    def test_fault_has_its_byte_and_its_case(self):
        data = people().bytes()
        file = self.damaged(data[:-3])
        done = self.run_tool("verify", file)
        case = 3
        byte = len(data) - 6 * 8
        self.assertEqual((1, ""), (done.returncode, done.stderr))
        self.assertRegex(done.stdout, rf"(?m)^fault 1205, byte {byte}, case {case}: the file ends inside a case$")
        self.assertIn("not readable: case 3\n", done.stdout)
        self.assertIn("fault 1204, byte 80: the file counts 4 cases, but 3 were found\n", done.stdout)

    def test_colours_only_where_wanted(self):
        file = self.file(people())
        self.assertNotIn("\x1b", self.out("verify", file))
        self.assertIn("\x1b[", self.out("verify", file, "--color", "always"))


class Json(VerifyTest):
    def test_object_has_its_members_in_order(self):
        file = self.file(people())
        found = self.verified(file)
        self.assertEqual(
            ["file", "kind", "cases", "declared_cases", "faults", "readable_cases", "warnings"], list(found)
        )
        self.assertEqual([str(file), "system file", 4, 4, [], 4, []], list(found.values()))

    def test_fault_of_a_record_names_it(self):
        data = SystemFile().variable("A").extension(16, 8, 3, bytes(24)).extension(3, 4, 2, bytes(8)).case(1).bytes()
        first, second = self.verified(self.damaged(data))["faults"]
        self.assertEqual((208, 7, 16, None, 1204), tuple(list(first.values())[:5]))
        self.assertEqual((208 + 16 + 24 + 4 - 4, 7, 3, None, 1204), tuple(list(second.values())[:5]))

    def test_what_is_no_system_file_has_the_kind_none(self):
        found = self.verified(self.damaged(b"some text that is long enough\n" * 10))
        self.assertEqual(("none", 0, 1204), (found["kind"], found["cases"], found["faults"][0]["number"]))

    def test_unknown_count_is_no_fault(self):
        file = people()
        file._cases = -1
        found = self.verified(self.file(file))
        self.assertEqual((4, None, []), (found["cases"], found["declared_cases"], found["faults"]))

    def test_wrong_count_is_a_fault_at_its_byte(self):
        for count in (3, 5):
            file = people()
            file._cases = count
            found = self.verified(self.file(file))
            self.assertEqual([80], [fault["byte"] for fault in found["faults"]])
            self.assertEqual((4, count, 4), (found["cases"], found["declared_cases"], found["readable_cases"]))

    def test_count_of_record_16_is_at_that_record(self):
        data = SystemFile(cases=-1).variable("A").extension(16, 8, 2, struct.pack("=2q", 1, 9)).case(1).bytes()
        fault = self.verified(self.damaged(data))["faults"][0]
        self.assertEqual((208, 7, 16), (fault["byte"], fault["record"], fault["subtype"]))

    def test_repeated_record_is_a_warning(self):
        record = struct.pack("=2q", 1, 1)
        data = SystemFile().variable("A").extension(16, 8, 2, record).extension(16, 8, 2, record).case(1).bytes()
        found = self.verified(self.damaged(data))
        self.assertEqual(([], [16]), (found["faults"], [one["subtype"] for one in found["warnings"]]))

    def test_missing_file_is_error_1201(self):
        self.assertIn("error 1201", self.fails(1, "verify", self.folder / "nothing"))
        self.assertIn("error 1201", self.fails(1, "verify", self.folder))

    def test_pipe_is_error_1201(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        self.assertIn("error 1201", self.fails(1, "verify", pipe))


class Zlib(VerifyTest):
    def test_sound_file_has_no_faults(self):
        found = self.verified(self.zlib_file())
        self.assertEqual((40_000, [], []), (found["cases"], found["faults"], found["warnings"]))

    def test_flipped_bit_in_a_block_is_found_at_the_block(self):
        data = bytearray(self.zlib_file().read_bytes())
        places = blocks(data)
        self.assertGreater(len(places), 4)
        for index in (0, 2, len(places) - 1):
            place, packed = places[index]
            for byte in (place + 5, place + 28 + packed // 2, place + 28 + packed - 1):
                data[byte] ^= 16
                found = self.verified(self.damaged(data))
                data[byte] ^= 16
                with self.subTest(block=index, byte=byte):
                    self.assertEqual([place], [one["byte"] for one in found["faults"] if one["number"] == 1205])

    def test_each_damaged_block_is_a_fault(self):
        data = bytearray(self.zlib_file().read_bytes())
        wrong = [place for place, _ in blocks(data)[1::2]]
        for place in wrong:
            data[place + 40] ^= 1
        found = self.verified(self.damaged(data))
        self.assertEqual(wrong, [one["byte"] for one in found["faults"] if one["number"] == 1205])

    def test_missing_table_is_a_fault_and_costs_no_case(self):
        data = self.zlib_file().read_bytes()
        found = self.verified(self.damaged(data[:-10]))
        self.assertEqual([data.rfind(b"ZTAB")], [one["byte"] for one in found["faults"]])
        self.assertEqual(40_000, found["readable_cases"])

    def test_damaged_table_is_a_fault_at_the_table(self):
        data = bytearray(self.zlib_file().read_bytes())
        table = data.rfind(b"ZTAB")
        data[table + 30] ^= 1
        found = self.verified(self.damaged(data))
        self.assertEqual([table], [one["byte"] for one in found["faults"]])
        self.assertEqual(40_000, found["readable_cases"])

    def test_truncated_file_keeps_its_whole_blocks(self):
        data = self.zlib_file().read_bytes()
        place = blocks(data)[2][0]
        found = self.verified(self.damaged(data[: place + 100]))
        self.assertEqual(place, found["faults"][1]["byte"])
        self.assertGreater(found["readable_cases"], 5_000)


class Encrypted(VerifyTest):
    def secret(self, cases=8_000):
        return self.encrypted(self.file(many_numbers(cases), "plain.quav"), "--compress", "none")

    def test_sound_file_has_no_faults(self):
        found = self.verified(self.secret(), "--password-file", self.password_file())
        self.assertEqual(("encrypted system file", 8_000, []), (found["kind"], found["cases"], found["faults"]))

    def test_missing_and_wrong_passwords_are_faults(self):
        secret = self.secret(10)
        self.assertEqual([1214], [one["number"] for one in self.verified(secret)["faults"]])
        wrong = self.password_file("another\n", "wrong")
        found = self.verified(secret, "--password-file", wrong)
        self.assertEqual([1213], [one["number"] for one in found["faults"]])

    def test_damaged_chunk_is_found_at_its_byte(self):
        data = bytearray(self.secret().read_bytes())
        size = 64 * 1024 + 16
        first = 36 + 48
        for chunk in (1, 2):
            data[first + chunk * size + 1000] ^= 1
        found = self.verified(self.damaged(data), "--password-file", self.password_file())
        faults = [one for one in found["faults"] if one["number"] == 1205]
        self.assertEqual([first + size, first + 2 * size], [one["byte"] for one in faults])
        self.assertEqual((found["readable_cases"], None), (faults[0]["case"], faults[1]["case"]))
        self.assertGreater(found["readable_cases"], 2_000)

    def test_missing_last_chunk_is_a_fault_at_the_end(self):
        data = self.secret().read_bytes()
        end = 36 + 48 + 2 * (64 * 1024 + 16)
        found = self.verified(self.damaged(data[:end]), "--password-file", self.password_file())
        self.assertEqual([end], [one["byte"] for one in found["faults"] if one["number"] == 1205])

    def test_password_for_a_plain_file_is_a_warning(self):
        done = self.run_tool("verify", self.file(people()), "--password-file", self.password_file())
        self.assertEqual(0, done.returncode)
        self.assertIn("warning: the file is not encrypted", done.stderr)


class Salvage(VerifyTest):
    def salvaged(self, file, *options):
        """Returns the exit status, the warnings, and the new file, which must be sound."""
        out = self.folder / "whole.quav"
        done = self.run_tool("verify", file, "--salvage", out, *options)
        self.assertEqual([], self.verified(out, *options)["faults"])
        return done.returncode, done.stderr, out

    def test_sound_file_is_copied(self):
        for sample in sorted(SAMPLES.glob("*.quav")):
            if sample.stem in ("count_too_large", "repaired_names") or not sample.with_suffix(".jsonl").exists():
                continue
            with self.subTest(sample=sample.name):
                out = self.folder / "whole.quav"
                done = self.run_tool("verify", sample, "--salvage", out)
                self.assertEqual(0, done.returncode, done.stdout)
                self.assertEqual(self.lines(sample), self.lines(out))

    def test_cases_before_the_fault_are_saved(self):
        for name in ("case_cut", "group_cut"):
            sample = SAMPLES / "bad" / f"{name}.quav"
            status, warnings, out = self.salvaged(sample)
            self.assertEqual(1, status)
            self.assertRegex(warnings, r"warning: the new file lacks case")
            whole = self.verified(sample)["readable_cases"]
            self.assertEqual(whole, len(self.lines(out)))

    def test_file_that_was_cut_between_two_cases_lacks_the_rest(self):
        data = SystemFile(cases=10).variable("A")
        for k in range(10):
            data.case(k)
        for cut, missing in ((8, "case 9"), (4 * 8, "cases 6 to 9"), (10 * 8, "cases 0 to 9")):
            file = self.damaged(data.bytes()[:-cut])
            status, warnings, out = self.salvaged(file)
            self.assertEqual(1, status)
            self.assertIn(f"warning: the new file lacks {missing}:", warnings)
            self.assertIn(f"not readable: {missing}\n", self.run_tool("verify", file).stdout)
            self.assertEqual(10 - cut // 8, len(self.lines(out)))

    def test_cases_before_and_after_a_damaged_block_are_saved(self):
        packed = self.zlib_file()
        whole = self.lines(packed)
        data = bytearray(packed.read_bytes())
        for index in (0, 1, len(blocks(data)) - 2):
            place = blocks(data)[index][0]
            data[place + 40] ^= 1
            status, warnings, out = self.salvaged(self.damaged(data))
            data[place + 40] ^= 1
            with self.subTest(block=index):
                self.assertEqual(1, status)
                first, last = map(int, re.search(r"lacks cases (\d+) to (\d+)", warnings).groups())
                self.assertEqual(whole[:first] + whole[last + 1 :], self.lines(out))
                self.assertLess(last - first, 131_072 // 24 + 2)

    def test_cases_of_any_form_are_found_again(self):
        seed = random.SystemRandom().getrandbits(32)
        choice = random.Random(seed)
        for _ in range(1 if IS_SANITIZED else 3):
            file = SystemFile().variable("A").variable("T", 20).variable("B").variable("C")
            for row in range(60_000):
                file.case(
                    choice.choice([None, 1, row, row + 0.5]),
                    choice.choice([b"", b"text", b"a text of 20 bytes.."]),
                    choice.choice([1, 2, 3]),
                    choice.choice([None, 253 * 2.0**40, row / 3]),
                )
            plain = self.file(file, "plain.quav")
            packed = self.folder / "packed.quav"
            self.out("convert", "--compress", "zlib", plain, packed)
            whole = self.lines(packed)
            data = bytearray(packed.read_bytes())
            place = choice.choice(blocks(data)[:-1])[0]
            data[place + 40] ^= 1
            status, warnings, out = self.salvaged(self.damaged(data))
            with self.subTest(seed=seed, place=place):
                self.assertEqual(1, status)
                first, last = map(int, re.search(r"lacks cases (\d+) to (\d+)", warnings).groups())
                self.assertEqual(whole[:first] + whole[last + 1 :], self.lines(out))

    def test_unknown_count_leaves_the_number_of_missing_cases_unknown(self):
        data = bytearray(self.zlib_file().read_bytes())
        place = blocks(data)[1][0]
        data[place + 40] ^= 1
        data[80:84] = struct.pack("=i", -1)
        count = data.find(struct.pack("=4iq", 7, 16, 8, 2, 1))
        if count >= 0:
            data[count + 24 : count + 32] = struct.pack("=q", -1)
        status, warnings, out = self.salvaged(self.damaged(data))
        self.assertEqual(1, status)
        self.assertIn("an unknown number of cases from case", warnings)
        self.assertGreater(len(self.lines(out)), 30_000)

    def test_encrypted_file_stays_encrypted(self):
        secret = self.encrypted(self.file(many_numbers(8_000), "plain.quav"), "--compress", "none")
        data = bytearray(secret.read_bytes())
        data[36 + 48 + 64 * 1024 + 500] ^= 1
        password = self.password_file()
        status, warnings, out = self.salvaged(self.damaged(data), "--password-file", password)
        self.assertEqual(1, status)
        self.assertEqual(b"ENCRYPTEDSAV", out.read_bytes()[8:20])
        lines = self.out("cat", "--format", "jsonl", out, "--password-file", password).splitlines()
        self.assertEqual(self.lines(self.folder / "plain.quav")[: len(lines)], lines)
        self.assertGreater(len(lines), 2_000)

    def test_fatal_documents_are_left_out(self):
        sample = SAMPLES / "fatal" / "document_date.quav"
        status, warnings, out = self.salvaged(sample)
        self.assertEqual(1, status)
        self.assertIn("lacks what cannot be read: the documents", warnings)

    def test_dictionary_that_cannot_be_read_saves_nothing(self):
        out = self.folder / "whole.quav"
        done = self.run_tool("verify", SAMPLES / "bad" / "no_end.quav", "--salvage", out)
        self.assertEqual(1, done.returncode)
        self.assertIn("error: nothing can be saved", done.stderr)
        self.assertFalse(out.exists())

    def test_full_disk_leaves_no_file_and_keeps_an_old_one(self):
        file = self.zlib_file()
        before = set(os.listdir(self.folder))
        out = self.folder / "whole.quav"
        for old in (None, "old"):
            if old is not None:
                out.write_text(old)
            for size in (0, 512, 64 * 1024):
                status, line = self.limited(size, "verify", file, "--salvage", out)
                self.assertEqual(1, status)
                self.assertRegex(line, r"\Adatasrc: error 1202: .*\(File too large\).*whole\.quav\n\Z")
                self.assertEqual(old, out.read_text() if out.exists() else None)
                self.assertEqual(before | ({out.name} if old else set()), set(os.listdir(self.folder)))
        done = self.run_tool("verify", file, "--salvage", "/dev/full")
        self.assertEqual(1, done.returncode)
        self.assertIn("No space left", done.stderr)

    def test_input_is_never_replaced(self):
        file = self.file(people())
        before = file.read_bytes()
        self.fails(1, "verify", file, "--salvage", file)
        self.assertEqual(before, file.read_bytes())


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
