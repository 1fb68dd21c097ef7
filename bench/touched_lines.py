#!/usr/bin/env python3
"""touched_lines.py PROGRAM FUNCTION...   how much of the caches one call needs.

PROGRAM, corebeacon_counted_requests, runs under valgrind's lackey, which tells every access. For
each FUNCTION that main() calls, such as "ConfigManager::PerfRequest(", the instructions of the
call of median length are counted, and the cache lines and pages that they and their data lie in.
What the kernel does for the call is not in it.
"""
import re
import subprocess
import sys

LINE_BYTES = 64
PAGE_BYTES = 4096
LOAD_ADDRESS = 0x108000  # of a position-independent program under valgrind
CALLS = 40


def functions_of(program):
    """(first address, address behind the last, name) of each function."""
    symbols = subprocess.run(["nm", "-CS", "--defined-only", program], check=True,
                             capture_output=True, text=True).stdout
    for line in symbols.splitlines():
        match = re.match(r"([0-9a-f]+) ([0-9a-f]+) [TtWw] (.*)", line)
        if match and not match[3].endswith(".cold"):
            first = int(match[1], 16) + LOAD_ADDRESS
            yield first, first + int(match[2], 16), match[3]


def accesses(program):
    """("I" or a kind of data access, first byte, last byte) of each access of the program."""
    command = ["valgrind", "--tool=lackey", "--trace-mem=yes", program, str(CALLS)]
    with subprocess.Popen(command, stderr=subprocess.PIPE, text=True) as run:
        for line in run.stderr:
            match = re.match(r"(I | L| S| M) ([0-9a-f]+),(\d+)$", line)
            if match:
                first = int(match[2], 16)
                yield match[1].strip(), first, first + int(match[3]) - 1


def calls_of(program, names):
    """For each name the calls of it, each as a list of accesses."""
    functions = list(functions_of(program))
    main = next(range(first, end) for first, end, name in functions if name == "main")
    entries = {first: wanted for first, _, name in functions for wanted in names if wanted in name}
    calls = {name: [] for name in names}
    inside = None
    for access in accesses(program):
        kind, first, _ = access
        if inside is None and kind == "I" and first in entries:
            inside = []
            calls[entries[first]].append(inside)
        elif kind == "I" and first in main:
            inside = None
        if inside is not None:
            inside.append(access)
    return calls


def report(name, calls):
    # The first ones fill what is kept for those that follow.
    settled = sorted(calls[len(calls) // 2:], key=len)
    if not settled:
        sys.exit(f"{name} was never called")
    call = settled[len(settled) // 2]
    text = f"{name.rstrip('(')}: {sum(kind == 'I' for kind, _, _ in call)} instructions"
    for what, isWanted in (("code", lambda kind: kind == "I"), ("data", lambda kind: kind != "I")):
        places = [place for kind, *ends in call if isWanted(kind) for place in ends]
        lines = {place // LINE_BYTES for place in places}
        pages = {place // PAGE_BYTES for place in places}
        text += f", {what} in {len(lines)} lines of {len(pages)} pages"
    print(text)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    for name, calls in calls_of(sys.argv[1], sys.argv[2:]).items():
        report(name, calls)


main()
