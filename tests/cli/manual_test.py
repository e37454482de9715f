"""Checks the manual: runs every example, formats every page, and completes command lines in the shells.

    manual_test.py BINARY SHARE EXAMPLES

SHARE is the folder with the man pages and completions, EXAMPLES the one with penguins.quav. What needs groff, zsh or fish
is skipped without them.
"""

import gzip
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

BINARY = ""
SHARE = pathlib.Path()
EXAMPLES = pathlib.Path()
TIMEOUT = 300  # seconds
COLUMN = 30  # of the texts in the help

PEOPLE = "name,age\nAnn,31\nJo,45\n"
MORE = "name,age\nKim,27\n"
DIALECT = "name;pay\nAnn;1,5\nJo;n/a\n"


def run(arguments, **options):
    options = {"capture_output": True, "text": True, "timeout": TIMEOUT, "check": False, **options}
    return subprocess.run([str(argument) for argument in arguments], **options)


def tool(*arguments, **options):
    return run([BINARY, *arguments], **options)


def commands():
    """Returns the commands in the help of the tool."""
    text = tool("help").stdout
    return re.findall(r"^  (\w+) ", text[text.index("Subcommands:") :], re.MULTILINE)


def help_options(command):
    """Returns pairs of the names of an option and its text, as the help prints them."""
    lines = tool("help", command).stdout.splitlines()
    options = []
    for line, following in zip(lines, lines[1:] + [""]):
        if match := re.match(r"  (-\S+)", line):
            # The text is in a column of its own, of the next line when the names are long.
            text = line[COLUMN:] if line[COLUMN - 1 : COLUMN] == " " else following[COLUMN:]
            options.append((match[1], text.strip()))
    return options


def examples(command):
    """Returns the lines of the examples in the help of a command."""
    _, _, text = tool("help", command).stdout.partition("\nExamples:\n")
    return [line.strip() for line in text.splitlines() if line.startswith("  ") and not line.startswith("  #")]


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def environment(self):
        """Returns an environment in which `datasrc` is the tool."""
        programs = self.folder / "bin"
        programs.mkdir(exist_ok=True)
        if not (programs / "datasrc").exists():
            (programs / "datasrc").symlink_to(BINARY)
        return {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}", "TERM": "dumb", "HOME": str(self.folder)}


class ExamplesTest(Folder):
    def make_files(self, place):
        """Makes the files that the examples name."""
        place.mkdir()
        penguins = place / "penguins.quav"
        shutil.copy(EXAMPLES / "penguins.quav", penguins)
        for name in ("old.quav", "new.quav"):
            shutil.copy(penguins, place / name)
        (place / "people.csv").write_text(PEOPLE)
        (place / "people.csv.gz").write_bytes(gzip.compress(PEOPLE.encode()))
        (place / "more.csv").write_text(MORE)
        (place / "people.txt").write_text(DIALECT)
        (place / "password.txt").write_text("open sesame\n")
        (place / "password.txt").chmod(0o600)
        for name in ("people.quav", "others.quav"):
            self.assertEqual(0, tool("convert", place / "people.csv", place / name).returncode)
        (place / "penguins.json").write_text(tool("info", "--json", penguins).stdout)
        (place / "penguins.jsonl").write_text(tool("cat", "--format", "jsonl", "--raw", penguins).stdout)

    def test_every_example_runs(self):
        environment = self.environment()
        for command in commands():
            lines = examples(command)
            self.assertTrue(lines, f"{command} has no example")
            for number, line in enumerate(lines):
                with self.subTest(example=line):
                    place = self.folder / f"{command}{number}"
                    self.make_files(place)
                    done = run(["bash", "-o", "pipefail", "-c", line], cwd=place, env=environment)
                    self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_example_that_fails_is_seen(self):
        done = run(["bash", "-c", "datasrc info none.quav"], cwd=self.folder, env=self.environment())
        self.assertEqual(1, done.returncode)


class HelpTest(unittest.TestCase):
    def test_every_option_has_a_text(self):
        for command in commands():
            options = help_options(command)
            self.assertIn("-h,--help", [name for name, _ in options])
            for name, text in options:
                with self.subTest(command=command, option=name):
                    self.assertRegex(text, r"\w+ \w+")


class PagesTest(unittest.TestCase):
    def pages(self):
        return sorted((SHARE / "man" / "man1").glob("*.1"))

    def test_tool_and_commands_have_pages(self):
        wanted = {"datasrc.1"} | {f"datasrc-{command}.1" for command in commands()}
        self.assertEqual(wanted, {page.name for page in self.pages()})

    def test_page_has_every_option_and_example_of_the_help(self):
        for command in commands():
            page = (SHARE / "man" / "man1" / f"datasrc-{command}.1").read_text()
            common = (SHARE / "man" / "man1" / "datasrc.1").read_text()
            plain = re.sub(r"\\f[BIP]", "", page + common).replace("\\-", "-").replace("\\(aq", "'")
            for name, _ in help_options(command):
                for one in name.split(","):
                    self.assertIn(one, plain, command)
            for line in examples(command):
                self.assertIn(f"\n{line}\n", plain)

    @unittest.skipUnless(shutil.which("groff"), "groff is not there")
    def test_groff_formats_pages_without_a_warning(self):
        for page in self.pages():
            with self.subTest(page=page.name):
                done = run(["groff", "-man", "-Tutf8", "-ww", "-z", page])
                self.assertEqual((0, ""), (done.returncode, done.stderr))

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not there")
    def test_mandoc_finds_nothing(self):
        for page in self.pages():
            with self.subTest(page=page.name):
                lines = run(["mandoc", "-T", "lint", "-W", "warning", page]).stdout.splitlines()
                # Pages have no date, so that the same sources make the same pages.
                self.assertEqual([], [line for line in lines if "missing date" not in line])

    @unittest.skipUnless(shutil.which("man"), "man is not there")
    def test_man_finds_pages(self):
        done = run(["man", "-M", SHARE / "man", "datasrc-convert"], env={**os.environ, "MANPAGER": "cat", "COLUMNS": "80"})
        self.assertEqual(0, done.returncode, done.stderr)
        for word in ("DATASRC-CONVERT(1)", "datasrc convert [options] IN OUT", "--encrypt-with F", "EXAMPLES"):
            self.assertIn(word, re.sub(r".\x08", "", done.stdout))


# The words of a command line, the last of which is completed, and some of the words that a shell must offer; an empty
# list where it must offer nothing.
COMPLETIONS = [
    (["conv"], ["convert"]),
    ([""], ["info", "verify", "diff", "cat", "convert", "append", "concat", "stats", "report", "mangle", "help"]),
    (["--qu"], ["--quiet"]),
    (["--errors", "json", "app"], ["append"]),
    (["--errors", "j"], ["json"]),
    (["convert", "--fr"], ["--from"]),
    (["convert", "--from", ""], ["csv", "tsv", "jsonl", "ndjson", "quav"]),
    (["convert", "--compress", "z"], ["zlib"]),
    (["cat", "--color", "n"], ["never"]),
    (["cat", "--for"], ["--format"]),
    (["cat", "--rows", "peng"], []),
    (["help", "ver"], ["verify"]),
    (["info", "peng"], ["penguins.quav"]),
    (["info", "--password-file", "pass"], ["pass word.txt"]),
    (["convert", "penguins.quav", "pass"], ["pass word.txt"]),
]
OPTIONS_OF_OTHERS = ["--encrypt-with", "--salvage", "--json"]  # not of `cat`


class CompletionTest(Folder):
    def setUp(self):
        super().setUp()
        for name in ("penguins.quav", "pass word.txt"):
            (self.folder / name).touch()

    def check(self, complete, unescape=str):
        """`complete` returns the words that a shell offers."""
        for words, wanted in COMPLETIONS:
            with self.subTest(words=words):
                offered = [unescape(word) for word in complete(words)]
                if wanted:
                    self.assertEqual(sorted(wanted), sorted(set(offered) & set(wanted)))
                self.assertTrue(all(word.startswith(words[-1]) for word in offered), offered)
                if not wanted:
                    self.assertEqual([], offered)
        offered = complete(["cat", "--"])
        self.assertIn("--labels", offered)
        self.assertIn("--quiet", offered)
        self.assertFalse(set(offered) & set(OPTIONS_OF_OTHERS))

    def in_bash(self, words):
        script = (
            'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_LINE="$*"; '
            '_datasrc; ((${#COMPREPLY[@]} == 0)) || printf "%s\\n" "${COMPREPLY[@]}"'
        )
        completion = SHARE / "bash-completion" / "completions" / "datasrc"
        done = run(["bash", "--norc", "-c", script, "bash", completion, "datasrc", *words], cwd=self.folder)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return done.stdout.splitlines()

    def test_bash(self):
        self.check(self.in_bash)
        # bash makes three words of --errors=json.
        self.assertEqual(["json"], self.in_bash(["--errors", "=", "j"]))
        self.assertEqual(["text", "json"], self.in_bash(["--errors", "="]))
        self.assertEqual(["convert", "concat"], self.in_bash(["--errors", "=", "json", "con"]))

    def type_into_bash(self, keys, wanted):
        """Types into an interactive bash until its output has `wanted`, and returns the output."""
        terminal, inner = pty.openpty()
        bash = subprocess.Popen(
            ["bash", "--norc", "--noprofile", "-i"],
            stdin=inner,
            stdout=inner,
            stderr=inner,
            cwd=self.folder,
            env={**self.environment(), "PS1": "> "},
            start_new_session=True,
        )
        os.close(inner)
        completion = SHARE / "bash-completion" / "completions" / "datasrc"
        os.write(terminal, f"source '{completion}'; bind 'set bell-style none'\n{keys}".encode())
        output = b""
        end = time.monotonic() + 20
        while wanted not in output and time.monotonic() < end:
            if select.select([terminal], [], [], 1)[0]:
                output += os.read(terminal, 4096)
        bash.kill()
        bash.wait()
        os.close(terminal)
        return output

    def test_bash_on_a_terminal(self):
        self.assertIn(b"datasrc convert ", self.type_into_bash("datasrc conv\t", b"datasrc convert "))
        line = b"datasrc info pass\\ word.txt "
        self.assertIn(line, self.type_into_bash("datasrc info pas\t", line))

    @unittest.skipUnless(shutil.which("fish"), "fish is not there")
    def test_fish(self):
        completion = SHARE / "fish" / "vendor_completions.d" / "datasrc.fish"
        self.assertEqual(0, run(["fish", "--no-execute", completion]).returncode)

        def complete(words):
            line = " ".join(["datasrc", *words])
            done = run(
                ["fish", "--no-config", "-c", f"source '{completion}'; complete -C '{line}'"],
                cwd=self.folder,
                env=self.environment(),
            )
            self.assertEqual((0, ""), (done.returncode, done.stderr))
            return [line.split("\t")[0] for line in done.stdout.splitlines()]

        self.check(complete, lambda word: word.replace("\\ ", " "))

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not there")
    def test_zsh(self):
        folder = SHARE / "zsh" / "site-functions"
        self.assertEqual(0, run(["zsh", "-n", folder / "_datasrc"]).returncode)

        # A shell on a terminal of its own; what it would add is printed in place of being added.
        script = f"""
            zmodload zsh/zpty
            zpty shell zsh -f -i
            begin() {{ zpty -w shell "$1" }}
            begin 'PROMPT=; fpath=({folder} $fpath); autoload -Uz compinit; compinit -u -D; cd {self.folder}'
            begin 'compadd() {{ local -a found; [[ ${{@[(I)-[OAD]]}} -gt 0 ]] && {{ builtin compadd "$@"; return }}; builtin compadd -O found "$@"; print -rl -- "@@"$^found; builtin compadd "$@" }}'
            begin "zstyle ':completion:*' list-prompt ''; zstyle ':completion:*' menu no; setopt no_beep; LISTMAX=0"
            # Keys that come before the prompt would meet a terminal without an editor of lines.
            begin 'PROMPT="<""prompt>"; print -r -- @@"ready"'
            zpty -r -m shell line '*@@ready*<prompt>*'
            zpty -w -n shell "$1"$'\\t\\x15print -r -- @@"end"\\n'
            zpty -r -m shell line '*@@end*'
            print -r -- "$line"
        """

        def complete(words):
            line = " ".join(["datasrc", *words])
            done = run(["zsh", "-f", "-c", script, "zsh", line], env=self.environment(), timeout=60)
            offered = re.findall(r"@@([^\r\n@\x1b\"]+)", done.stdout)
            return [word for word in offered if word not in ("end", "ready")]

        self.assertIn("convert", complete(["conv"]))
        self.assertEqual({"json"}, set(complete(["--errors", "j"])))
        self.assertEqual({"csv", "tsv", "jsonl", "ndjson", "arrow", "quav"}, set(complete(["convert", "--from", ""])))
        self.assertIn("penguins.quav", complete(["info", "peng"]))
        self.assertEqual([], complete(["cat", "--rows", "peng"]))


if __name__ == "__main__":
    BINARY = str(pathlib.Path(sys.argv[1]).resolve())
    SHARE = pathlib.Path(sys.argv[2]).resolve()
    EXAMPLES = pathlib.Path(sys.argv[3]).resolve()
    unittest.main(argv=sys.argv[:1], verbosity=2)
