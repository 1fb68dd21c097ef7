"""man_pages_test.py SOURCE PROGRAM...   the manual pages are sound, whole, and do as they say."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv[1])
PROGRAM = sys.argv[2:]
PAGES = sorted((SOURCE / "man").glob("*.[0-9]"))
SYSTEM_HEADERS = re.compile(r"\\f[A-Z]|\\&")


def unescaped(text):
    return SYSTEM_HEADERS.sub("", text).replace("\\-", "-").replace("\\e", "\\").replace("\\(aq", "'")


def words_of(page):
    """All text of a page, without macros and escapes, blanks made single."""
    lines = [re.sub(r'^\.\w+ ?', "", line) for line in page.read_text().splitlines()]
    return re.sub(r'[\s"]+', " ", unescaped(" ".join(lines)))


def examples(name):
    return [unescaped(text) for text in
            re.findall(r"^\.EX\n(.*?)^\.EE$", (SOURCE / "man" / name).read_text(), re.S | re.M)]


def run(*words):
    return subprocess.run(PROGRAM + list(words), capture_output=True, text=True, timeout=60,
                          check=True).stdout


class Form(unittest.TestCase):
    def test_the_formatters_have_nothing_to_say(self):
        self.assertTrue(PAGES)
        for page in PAGES:
            with self.subTest(page=page.name):
                if shutil.which("mandoc") is None:
                    self.skipTest("there is no mandoc; scripts/install-deps.sh test installs it")
                said = subprocess.run(["mandoc", "-Tlint", page], capture_output=True,
                                      text=True, timeout=60, check=False)
                self.assertEqual(said.stdout + said.stderr, "")
                if shutil.which("groff"):
                    said = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", page],
                                          capture_output=True, text=True, timeout=60, check=True)
                    self.assertEqual(said.stderr, "")

    def test_a_page_tells_the_version_of_the_program(self):
        version = run("--version").split()[1]
        for page in PAGES:
            told = re.search(r'"CoreBeacon (\d+\.\d+(?:\.\d+)?)"', page.read_text())
            self.assertIsNotNone(told, page.name)
            self.assertTrue(f"{version}.".startswith(f"{told.group(1)}."), page.name)


class Wholeness(unittest.TestCase):
    def listed(self, title, *words):
        found = re.search(rf"\n{title}:\n((?:  .*\n)+)", run(*words, "--help"))
        return found.group(1) if found else ""

    def commands(self, *words):
        for name in re.findall(r"^  (\S+)", self.listed("Subcommands", *words), re.M):
            below = list(self.commands(*words, name))
            yield from below or [(*words, name)]

    def test_every_subcommand_and_option_has_its_place(self):
        page = (SOURCE / "man" / "corebeacon.1").read_text()
        text = words_of(SOURCE / "man" / "corebeacon.1")
        commands = list(self.commands())
        self.assertGreater(len(commands), 5)
        for command in commands:
            self.assertIn(f'.SS "corebeacon {" ".join(command)}', page)
            for option in re.findall(r"^  (?:-\w,)?(--[\w-]+)", self.listed("Options", *command),
                                     re.M):
                self.assertRegex(text, re.escape(option) + r"(?![\w-])", command)

    def test_every_verb_has_its_place(self):
        page = unescaped((SOURCE / "man" / "corebeacon-script.5").read_text())
        verbs = re.findall(r"^  ([a-z][\w-]*)(?: .*)?\n      ", run("run", "--help"), re.M)
        self.assertIn("release-all", verbs)
        for verb in verbs:
            self.assertRegex(page, rf'\n\.TP\n\.BI? "?{verb}[ "\n]', verb)

    def test_every_part_of_a_board_has_its_place(self):
        text = words_of(SOURCE / "man" / "corebeacon-board.5")
        names = set(re.findall(r'name="([a-z-]+)"', (SOURCE / "tools/board/board.xsd").read_text()))
        self.assertIn("overwrite-max", names)
        for name in names:
            self.assertRegex(text, rf"(?<![\w-]){name}(?![\w-])")

    def test_exit_codes_are_those_of_the_help(self):
        told = re.search(r"^Exit codes: (.*)$", run("--help"), re.M).group(1)
        page = (SOURCE / "man" / "corebeacon.1").read_text()
        section = page[page.index('"EXIT STATUS"'):page.index(".SH ENVIRONMENT")]
        self.assertEqual(re.findall(r"\d+", told), re.findall(r"^\.B (\d+)$", section, re.M))


class InFolder(unittest.TestCase):
    """Commands are done in a folder that holds the example script and the example board."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        program = self.folder / "bin" / "corebeacon"
        program.parent.mkdir()
        quoted = " ".join(f"'{word}'" for word in PROGRAM)
        program.write_text(f'#!/bin/sh\nexec {quoted} "$@"\n')
        program.chmod(0o755)
        self.script, *_ = examples("corebeacon-script.5")
        self.board, *_ = examples("corebeacon-board.5")
        (self.folder / "story.qos").write_text(self.script)
        (self.folder / "board.xml").write_text(self.board)
        self.environment = dict(os.environ, XDG_STATE_HOME=folder.name,
                                PATH=f"{program.parent}:{os.environ['PATH']}")

    def do(self, command):
        return subprocess.run(["sh", "-ec", command], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=120, check=False)


class Examples(InFolder):
    def test_every_command_succeeds(self):
        count = 0
        for page in PAGES:
            for example in examples(page.name):
                if not re.search(r"(^|\| )corebeacon ", example, re.M):
                    continue
                with self.subTest(page=page.name, example=example):
                    done = self.do(example)
                    self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                    self.assertEqual(done.stderr, "")
                    count += 1
        self.assertGreater(count, 5)

    def test_the_script_and_the_board_are_good(self):
        self.assertTrue(self.script.startswith("#"))
        self.assertTrue(self.board.startswith("<?xml"))
        self.assertIn("nothing found", self.do("corebeacon check board.xml").stdout)
        self.assertEqual(self.do("corebeacon run story.qos").returncode, 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
