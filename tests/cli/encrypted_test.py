"""Runs `datasrc` with passwords as a person does, and on all samples.

    encrypted_test.py BINARY SAMPLES
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import threading
import unittest

import tool_test
from convert_test import ConvertTest
from tool_test import good_samples, people

SAMPLES = pathlib.Path()
SECRET = "Tr0ub4dor & säge"


class EncryptedTest(ConvertTest):
    def password_file(self, text=SECRET + "\n", name="password", mode=0o600):
        path = self.folder / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode("utf-8"))
        path.chmod(mode)
        return path

    def encrypted(self, source, *options, name="secret.quav", password=None):
        return self.convert(source, "--encrypt-with", password or self.password_file(), *options, name=name)

    def opened(self, *arguments, password=None):
        return self.out(*arguments, "--password-file", password or self.password_file())

    def cases(self, file):
        return self.opened("cat", "--format", "jsonl", "--raw", file)


class Opening(EncryptedTest):
    def test_encrypted_file_shows_the_same_as_the_plain_one(self):
        plain = self.file(people())
        secret = self.encrypted(plain)
        for arguments in (["cat", "--format", "csv"], ["cat", "--format", "table"], ["cat", "--rows", "1:3", "--labels"]):
            self.assertEqual(self.out(*arguments, plain), self.opened(*arguments, secret))
        tree = json.loads(self.opened("info", "--json", secret))
        self.assertIs(True, tree["encrypted"])
        self.assertIs(False, self.info(plain)["encrypted"])
        self.assertEqual(4, tree["cases"])

    def test_long_standard_input_may_be_encrypted(self):
        source = self.convert(self.csv_file("a\n" + "".join(f"{n / 7!r}\n" for n in range(1_100_000))), "--no-sync")
        secret = self.encrypted(source, "--no-sync")
        self.assertGreater(secret.stat().st_size, 8 << 20)  # more than what is kept in memory
        with open(secret, "rb") as stream, subprocess.Popen(["cat"], stdin=stream, stdout=subprocess.PIPE) as cat:
            done = self.run_tool("diff", source, "-", "--password-file", self.password_file(), stdin=cat.stdout)
        self.assertEqual((0, "", ""), (done.returncode, done.stdout, done.stderr))

    def test_encrypted_file_contains_no_plain_text(self):
        plain = self.file(people())
        secret = self.encrypted(plain)
        contents = secret.read_bytes()
        self.assertEqual(b"ENCRYPTEDSAV", contents[8:20])
        # Texts so long that no enciphered bytes hold them by chance.
        for marker in (b"$FL2@(#)", b"PAY     ", b"second, and last", b"Ann     ", SECRET.encode()):
            self.assertIn(marker, plain.read_bytes() + SECRET.encode())
            self.assertNotIn(marker, contents)

    def test_missing_password_is_error_1214(self):
        self.assertIn("error 1214", self.fails(1, "info", self.encrypted(self.file(people()))))

    def test_wrong_password_is_error_1213(self):
        secret = self.encrypted(self.file(people()))
        wrong = self.password_file("wrong, and not to be shown", "wrong")
        line = self.fails(1, "info", secret, "--password-file", wrong)
        self.assertIn("error 1213", line)
        self.assertNotIn("not to be shown", line)

    def test_damaged_file_is_error_1213(self):
        secret = self.encrypted(self.file(people()))
        contents = bytearray(secret.read_bytes())
        contents[200] ^= 1
        secret.write_bytes(contents)
        self.assertIn("error 1213", self.fails(1, "info", secret, "--password-file", self.password_file()))


class PasswordFiles(EncryptedTest):
    def test_only_the_first_line_is_used(self):
        secret = self.encrypted(self.file(people()))
        for text in (SECRET, SECRET + "\r\n", SECRET + "\nanother line\n"):
            self.opened("info", secret, password=self.password_file(text))

    def test_file_that_others_can_read_gets_a_warning(self):
        secret = self.encrypted(self.file(people()))
        for mode in (0o640, 0o604, 0o666):
            path = self.password_file(mode=mode)
            done = self.run_tool("info", secret, "--password-file", path)
            self.assertEqual(0, done.returncode)
            self.assertRegex(done.stderr, r"\Adatasrc: warning: other users can read the password file[^\n]*\n\Z")
        done = self.run_tool("convert", self.file(people()), self.folder / "o.quav", "--encrypt-with", path)
        self.assertIn("other users can read", done.stderr)

    def test_password_file_may_be_a_pipe(self):
        secret = self.encrypted(self.file(people()))
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        writer = threading.Thread(target=lambda: pipe.write_text(SECRET + "\n", encoding="utf-8"))
        writer.start()
        self.out("info", secret, "--password-file", pipe)
        writer.join()

    def test_file_without_a_password_is_an_error(self):
        file = self.file(people())
        for text in ("", "\n", "\nsecond line\n", b"a\0b\n", "x" * 5000):
            line = self.fails(1, "info", file, "--password-file", self.password_file(text))
            self.assertIn("password file", line)
        self.fails(1, "info", file, "--password-file", self.folder / "none")
        self.fails(1, "info", file, "--password-file", self.folder)

    def test_mangled_form_works_as_the_password(self):
        mangled = self.out("mangle", self.password_file())
        self.assertRegex(mangled, r"\Amangled1:[0-9a-f]+\n\Z")
        disguised = self.password_file(mangled, "mangled")
        plain = self.file(people())
        self.opened("info", self.encrypted(plain), password=disguised)
        self.opened("info", self.encrypted(plain, password=disguised), password=self.password_file())


class Converting(EncryptedTest):
    def test_output_is_encrypted_only_on_request(self):
        secret = self.encrypted(self.file(people()))
        back = self.folder / "back.quav"
        self.opened("convert", secret, back)
        self.assertEqual(self.cases(secret), self.raw_cases_text(back))

    def raw_cases_text(self, file):
        return self.out("cat", "--format", "jsonl", "--raw", file)

    def test_text_converts_to_an_encrypted_file_and_back(self):
        secret = self.encrypted(self.csv_file("a,b\n1,x\n2,y\n"))
        out = self.folder / "back.csv"
        self.opened("convert", secret, out)
        self.assertEqual("a,b\n1,x\n2,y\n", out.read_text(encoding="utf-8"))

    def test_password_can_be_changed(self):
        other = self.password_file("another\n", "other")
        again = self.folder / "again.quav"
        self.opened("convert", self.encrypted(self.file(people())), again, "--encrypt-with", other)
        self.opened("info", again, password=other)
        self.fails(1, "info", again, "--password-file", self.password_file())

    def test_encrypted_file_gets_no_zlib_compression(self):
        packed = self.convert(self.file(people()), "--compress", "zlib", name="packed.quav")
        secret = self.encrypted(packed)
        self.assertEqual("bytecode", json.loads(self.opened("info", "--json", secret))["compression"])

    def test_wrong_command_line_exits_with_status_2(self):
        file = self.file(people())
        password = self.password_file()
        for arguments in (
            [file, self.folder / "o.csv", "--encrypt-with", password],
            [file, self.folder / "o.quav", "--encrypt-with", password, "--compress", "zlib"],
        ):
            self.fails(2, "convert", *arguments)

    def test_failed_work_leaves_no_file(self):
        out = self.folder / "out.quav"
        self.fails(1, "convert", self.file(people()), out, "--encrypt-with", self.folder / "none")
        self.assertFalse(out.exists())

    def test_help_describes_passwords(self):
        text = self.out("help", "convert")
        for part in ("--password-file", "--encrypt-with", "datasrc mangle", "no protection"):
            self.assertIn(part, text)
        self.assertIn("protects nothing", self.out("help", "mangle"))
        self.assertRegex(self.out("help"), r"(?m)^  mangle ")


class Appending(EncryptedTest):
    def test_cases_of_every_text_form_are_appended(self):
        for option in ([], ["--in-place"]):
            secret = self.encrypted(self.csv_file("a,b\n1,x\n", "made.csv"))
            self.opened("append", secret, self.csv_file("b,a\ny,2\n"), *option)
            self.opened("append", secret, self.text_file('[3,"z"]\n', "in.jsonl"), *option)
            self.assertEqual('[1,"x"]\n[2,"y"]\n[3,"z"]\n', self.cases(secret))
            self.assertEqual(b"ENCRYPTEDSAV", secret.read_bytes()[8:20])

    def test_encrypted_file_is_appended_to_an_encrypted_one(self):
        secret = self.encrypted(self.csv_file("a,b\n1,x\n"))
        other = self.folder / "other.quav"
        shutil.copy(secret, other)
        self.opened("append", secret, other)
        self.assertEqual('[1,"x"]\n[1,"x"]\n', self.cases(secret))

    def test_encrypted_file_is_appended_to_a_plain_one(self):
        secret = self.encrypted(self.csv_file("a,b\n1,x\n"))
        for options in ([], ["--in-place"]):
            with self.subTest(options=options):
                plain = self.convert(self.csv_file("a,b\n2,y\n", "plain.csv"), name="plain.quav")
                self.opened("append", plain, secret, "--strict", *options)
                self.assertEqual('[2,"y"]\n[1,"x"]\n', self.out("cat", "--format", "jsonl", "--raw", plain))
                line = self.fails(1, "append", plain, secret, *options)
                self.assertIn("error 1214", line)

    def test_plain_file_is_appended_to_an_encrypted_one(self):
        plain = self.convert(self.csv_file("a,b\n2,y\n"), name="plain.quav")
        secret = self.encrypted(self.csv_file("a,b\n1,x\n"))
        self.opened("append", secret, plain)
        self.assertEqual('[1,"x"]\n[2,"y"]\n', self.cases(secret))

    def test_missing_password_is_error_1214(self):
        secret = self.encrypted(self.csv_file("a,b\n1,x\n"))
        before = secret.read_bytes()
        self.assertIn("error 1214", self.fails(1, "append", secret, self.csv_file("a,b\n2,y\n")))
        self.assertEqual(before, secret.read_bytes())


class Secrets(EncryptedTest):
    def test_temp_directory_contains_no_plain_text(self):
        marker = "MARKEROFTHISTEST"
        rows = "".join(f"{number},{marker}{number:06}\n" for number in range(200_000))
        source = self.csv_file("a,b\n" + rows)
        temp = self.folder / "temp"
        temp.mkdir()
        environment = {**os.environ, "TMPDIR": str(temp)}
        secret = self.encrypted(source)
        options = ["--password-file", str(self.password_file()), "--format", "csv"]
        command = [tool_test.BINARY, "cat", str(secret), *options]
        with subprocess.Popen(command, stdout=subprocess.PIPE, env=environment) as running:
            self.assertEqual(b"a,b\n", running.stdout.readline())
            # The tool now waits with a full pipe and the file open. This is what others could find.
            self.assertEqual([], os.listdir(temp))
            found = 0
            for entry in pathlib.Path(f"/proc/{running.pid}/fd").iterdir():
                if not os.readlink(entry).startswith(str(temp)):
                    continue
                found += 1
                self.assertNotIn(marker[:10].encode(), entry.read_bytes())
            self.assertGreater(found, 0)
            self.assertNotIn(SECRET.encode(), pathlib.Path(f"/proc/{running.pid}/cmdline").read_bytes())
            self.assertNotIn(SECRET.encode(), pathlib.Path(f"/proc/{running.pid}/environ").read_bytes())
            self.assertEqual(200_000, sum(1 for _ in running.stdout))
        self.assertEqual(0, running.returncode)
        self.assertNotIn(marker[:10].encode(), secret.read_bytes())

    def test_spilled_input_is_enciphered_in_the_temp_directory(self):
        marker = b"MARKEROFTHISTEST"
        temp = self.folder / "temp"
        temp.mkdir()
        out = self.folder / "out.quav"
        rows = b"".join(b"%d,%s%06d\n" % (number, marker, number) for number in range(500_000))
        with subprocess.Popen(
            [tool_test.BINARY, "convert", "-", out],
            stdin=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env={**os.environ, "TMPDIR": str(temp)},
        ) as running:
            running.stdin.write(b"a,b\n" + rows)
            running.stdin.flush()
            # The tool has read all but what the pipe holds, and waits for the rest.
            self.assertEqual([], os.listdir(temp))
            spilled = b""
            for entry in pathlib.Path(f"/proc/{running.pid}/fd").iterdir():
                name = os.readlink(entry)
                self.assertNotEqual(pathlib.Path("/tmp"), pathlib.Path(name).parent)
                if name.startswith(str(temp)):
                    spilled += entry.read_bytes()
            self.assertGreater(len(spilled), 1_000_000)
            self.assertNotIn(marker, spilled)
            running.stdin.close()
            self.assertEqual(b"", running.stderr.read())
        self.assertEqual(0, running.returncode)
        self.assertEqual(500_000, self.info(out)["cases"])
        self.assertEqual("[499999,\"" + marker.decode() + '499999"]\n', self.out("cat", "--format", "jsonl", "--rows", "499999:", out))

    def test_output_never_replaces_a_password_file_or_dictionary(self):
        source = self.csv_file("a,b\n1,x\n")
        password = self.password_file()
        dictionary = self.text_file('{"variables":[{"name":"a","type":0},{"name":"b","type":1}]}', "dictionary")
        secret = self.encrypted(source)
        for arguments, own in (
            (["convert", source, password, "--encrypt-with", password], password),
            (["convert", secret, password, "--password-file", password], password),
            (["convert", source, dictionary, "--dictionary", dictionary], dictionary),
            (["convert", source, dictionary, "--to", "csv", "--dictionary", dictionary], dictionary),
            (["cat", secret, "-o", password, "--password-file", password], password),
        ):
            for link in (None, "link"):
                with self.subTest(arguments=arguments, link=link):
                    before = own.read_bytes()
                    if link:
                        link = self.folder / link
                        link.unlink(missing_ok=True)
                        link.symlink_to(own)
                        place = len(arguments) - 1 - arguments[::-1].index(own)
                        arguments = [*arguments[:place], link, *arguments[place + 1 :]]
                    self.assertIn("would replace", self.fails(1, *arguments))
                    self.assertEqual(before, own.read_bytes())


class Samples(EncryptedTest):
    def contents(self, file):
        tree = json.loads(self.out("info", "--json", file))
        del tree["timestamp"]  # that of the conversion
        return tree

    def test_every_sample_comes_back(self):
        # Each command that opens the encrypted file derives its key, which takes half a second. So a third must do.
        for sample in good_samples(SAMPLES)[::3]:
            with self.subTest(sample=sample.name):
                secret = self.encrypted(sample)
                back = self.convert(secret, "--password-file", self.password_file(), name="back.quav")
                plain = self.convert(sample, name="plain.quav")
                for file in (plain, sample):
                    self.assertEqual(self.raw_cases(file), self.raw_cases(back))
                self.assertEqual(self.contents(plain), self.contents(back))


if __name__ == "__main__":
    tool_test.BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SAMPLES = pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=1)
