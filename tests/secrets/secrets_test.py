"""Searches the memory of a program that has used a password: neither the password nor a key may be left in it.

    secrets_test.py USER
"""

import hashlib
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

USER = ""
SHORT = "zQ7#w"  # is stored inside a string object, without memory of its own
LONG = "correct horse? battery! st\u00e4ple; 0123456789"
WRAPPER_SIZE = 36


def memory(process):
    """Yields the process's memory, one mapping at a time, without the mappings that only the kernel can read."""
    with open(f"/proc/{process}/maps", encoding="ascii") as maps, open(f"/proc/{process}/mem", "rb", 0) as contents:
        for line in maps:
            mapped = re.match(r"(\w+)-(\w+) r", line)
            if not mapped or "[vvar" in line or "[vsyscall" in line:
                continue
            begin, end = (int(place, 16) for place in mapped.groups())
            contents.seek(begin)
            try:
                yield line.strip(), contents.read(end - begin)
            except OSError:
                continue


def places(process, secret):
    return [line for line, contents in memory(process) if secret in contents]


def mangled(password):
    """Returns the mangled form without the check after it."""
    state, digits = 0xA7, ""
    for byte in password.encode():
        state = (state * 5 + 113) % 256
        digits += f"{byte ^ state:02x}"
    return "mangled1:" + digits


def key_of(file, password):
    header = file.read_bytes()[WRAPPER_SIZE:]
    log_n, r, p = header[11:14]
    salt = header[16:48]
    return hashlib.scrypt(password.encode(), salt=salt, n=1 << log_n, r=r, p=p, maxmem=1 << 30, dklen=32)


class Secrets(unittest.TestCase):
    def look(self, password, how="forget"):
        """Returns the places of the password, of its mangled form and of the last key."""
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "secret.quav"
            command = [USER, str(file), how]
            with subprocess.Popen(
                command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE
            ) as user:
                user.stdin.write(password.encode() + b"\n")
                user.stdin.flush()
                self.assertEqual(b"ready\n", user.stdout.readline())
                found = [
                    places(user.pid, password.encode()),
                    places(user.pid, mangled(password).encode()),
                    places(user.pid, key_of(file, password)),
                ]
                cmdline = pathlib.Path(f"/proc/{user.pid}/cmdline").read_bytes()
                _, errors = user.communicate(b"\n")
            self.assertEqual(0, user.returncode)
            self.assertNotIn(password.encode(), cmdline)
            self.assertIn(b"cannot be opened", errors)
            self.assertNotIn(password.encode(), errors)
            self.assertNotIn(password.encode(), file.read_bytes())
        return found

    def test_long_password_leaves_nothing(self):
        self.assertEqual([[], [], []], self.look(LONG))

    def test_short_password_leaves_nothing(self):
        self.assertEqual([[], [], []], self.look(SHORT))

    def test_kept_secrets_are_found(self):
        for password in (SHORT, LONG):
            for found in self.look(password, "keep"):
                self.assertNotEqual([], found)


if __name__ == "__main__":
    USER = sys.argv[1]
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=1)
