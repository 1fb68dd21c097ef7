"""documents_test.py SOURCE PROGRAM...   what the README and docs/ tell to enter works as printed."""

import re
import shutil
import sys
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
from man_pages_test import SOURCE, InFolder  # noqa: E402

PAGES = [SOURCE / "README.md", *sorted((SOURCE / "docs").glob("*.md"))]


def commands(page):
    """Lines of indented blocks that begin with the program's name, without comments, in order."""
    text = page.read_text().replace("\\\n", " ")
    for line in re.findall(r"^    (?:\$ )?(corebeacon .*)$", text, re.M):
        yield re.sub(r"\s+#.*", "", line)


def as_done_here(command):
    """The nodes of this machine are not the test's to write to, nor is there time to watch long."""
    return re.sub(r"(--for|--watch) \d+s", r"\1 1s", command.replace(" --device kernel", ""))


class Documents(InFolder):
    def setUp(self):
        super().setUp()
        (self.folder / "examples").symlink_to(SOURCE / "examples")

    def expect_success(self, command):
        done = self.do(as_done_here(command))
        # A device that was captured here has what this machine has: maybe none of the QoS.
        accepted = (0, 1) if "--device device.json" in command else (0,)
        self.assertIn(done.returncode, accepted, done.stdout + done.stderr)

    def test_every_command_succeeds(self):
        self.assertGreater(len(list(commands(PAGES[0]))), 10)
        for page in PAGES:
            for command in commands(page):
                if "[" in command or ("| jq" in command and shutil.which("jq") is None):
                    continue
                with self.subTest(page=page.name, command=command):
                    self.expect_success(command)

    def test_the_readme_shows_every_subcommand(self):
        shown = {command.split()[1] for command in commands(PAGES[0])}
        offered = re.search(r"\nSubcommands:\n((?:  .*\n)+)", self.do("corebeacon --help").stdout)
        self.assertLessEqual(set(re.findall(r"^  (\S+)", offered.group(1), re.M)), shown)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
