#!/usr/bin/env python3
"""Compiles and runs the programs in a document, and compares what they print with what it says.

document_code.py DOCUMENT CXX CC WORK_DIR FLAG...

A program is a fenced block (Markdown: ```cpp, ```c; with the word compile-only it is not run, because
it would touch the nodes of this machine) or an example (man page: .EX to .EE, C). Where the
next such block is output (Markdown: ```text; man page: an example without a main function), the
program must print exactly that. FLAG... are what a compiler needs to find the library.
"""
import os
import re
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def markdown_blocks(text):
    """(language, how, code) of every fenced block, in order."""
    return re.findall(r"^```(\w+) ?([\w-]*)\n(.*?)^```$", text, re.M | re.S)


def unescape(line):
    """What a reader of the man page sees of a source line."""
    if line.startswith(r"\&"):
        line = line[2:]
    for escape, char in ((r"\-", "-"), (r"\(aq", "'"), (r"\(dq", '"'), (r"\e", "\\")):
        line = line.replace(escape, char)
    return line


def manual_blocks(text):
    blocks = []
    for code in re.findall(r"^\.EX\n(.*?)^\.EE$", text, re.M | re.S):
        code = "".join(unescape(line) + "\n" for line in code.splitlines())
        blocks.append(("c" if "int main(" in code else "text", "", code))
    return blocks


def build(number, language, code, compilers, work, flags):
    source = os.path.join(work, f"program{number}.{language}")
    program = os.path.join(work, f"program{number}")
    with open(source, "w", encoding="utf-8") as file:
        file.write(code)
    standard = "-std=c++20" if language == "cpp" else "-std=c99"
    extra = [] if language == "cpp" else ["-D_POSIX_C_SOURCE=200809L"]
    subprocess.run([compilers[language], standard, *extra, *WARNINGS, source, "-o", program, *flags],
                   check=True)
    return program


def main():
    document, cxx, cc, work, *flags = sys.argv[1:]
    os.makedirs(work, exist_ok=True)
    with open(document, encoding="utf-8") as file:
        text = file.read()
    blocks = markdown_blocks(text) if document.endswith(".md") else manual_blocks(text)
    programs = 0
    compared = 0
    for index, (language, how, code) in enumerate(blocks):
        if language not in ("cpp", "c"):
            continue
        programs += 1
        program = build(programs, language, code, {"cpp": cxx, "c": cc}, work, flags)
        if how == "compile-only":
            continue
        result = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                timeout=60, check=False)
        if result.returncode != 0:
            sys.exit(f"{document}: program {programs} gives {result.returncode}\n{result.stderr}")
        if index + 1 < len(blocks) and blocks[index + 1][0] == "text":
            compared += 1
            if result.stdout != blocks[index + 1][2]:
                sys.exit(f"{document}: program {programs} prints\n{result.stdout}and not\n"
                         f"{blocks[index + 1][2]}")
    if programs == 0 or compared == 0:
        sys.exit(f"{document}: no program, or none whose output is told")
    print(f"{document}: {programs} programs built, the output of {compared} as told")


if __name__ == "__main__":
    main()
