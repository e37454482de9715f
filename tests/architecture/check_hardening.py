#!/usr/bin/env python3
"""Looks at the built library and tool for what makes attacks harder, and for the name by which programs find the library.

    check_hardening.py LIBRARY TOOL SONAME

Prints a line for each finding and returns 1 when there is any.
"""

import re
import subprocess
import sys


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def facts(file):
    """Returns what readelf says about a file."""
    return {
        "header": output("readelf", "-hW", file),
        "segments": output("readelf", "-lW", file),
        "dynamic": output("readelf", "-dW", file),
        "symbols": output("readelf", "--dyn-syms", "-W", file),
    }


def findings(elf):
    """Yields what a library or program lacks."""
    if not re.search(r"Type:\s+DYN", elf["header"]):
        yield "is not position independent"
    if "GNU_RELRO" not in elf["segments"]:
        yield "has no tables that become read-only"
    if not re.search(r"\((FLAGS|FLAGS_1)\).*\bNOW\b|BIND_NOW", elf["dynamic"]):
        yield "finds addresses late, so that its tables stay writable"
    if "(TEXTREL)" in elf["dynamic"]:
        yield "writes into its code at the start"
    if "__stack_chk_fail" not in elf["symbols"]:
        yield "has no guards of arrays on the stack"
    if not re.search(r"UND __\w+_chk@", elf["symbols"]):
        yield "calls the C library without the sizes of memory"
    stack = re.search(r"GNU_STACK.*", elf["segments"])
    if not stack or re.search(r"\sR?W?E\s", stack[0]):
        yield "may run code on the stack"
    for segment in re.findall(r"LOAD\s.*", elf["segments"]):
        if re.search(r"\sRWE\s", segment):
            yield "has a segment that is writable and runs"


def name_findings(elf, soname):
    found = re.search(r"\(SONAME\).*\[(.*)\]", elf["dynamic"])
    if not found or found[1] != soname:
        yield f"has the name {found and found[1]}, not {soname}"


def main():
    library, tool, soname = sys.argv[1:]
    lines = [f"{library} {what}" for what in [*findings(facts(library)), *name_findings(facts(library), soname)]]
    program = facts(tool)
    lines += [f"{tool} {what}" for what in findings(program)]
    if not re.search(r"\(FLAGS_1\).*\bPIE\b", program["dynamic"]):
        lines.append(f"{tool} is no position independent program")
    for line in lines:
        print(line)
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
