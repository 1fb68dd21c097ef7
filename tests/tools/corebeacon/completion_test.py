"""completion_test.py COMPLETIONS PROGRAM...   what the shells are told to offer."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from terminal import Terminal  # noqa: E402

COMPLETIONS = Path(sys.argv[1])
PROGRAM = sys.argv[2:]


def run(*words):
    return subprocess.run(PROGRAM + list(words), capture_output=True, text=True, timeout=60,
                          check=True).stdout


def offered(*words):
    """The candidates for the last word; "" stands for a file."""
    return [line.split("\t")[0] for line in run("complete", "--", *words).splitlines()]


def commands():
    """Every subcommand with its words, from the help."""
    def below(*words):
        listed = re.search(r"\nSubcommands:\n((?:  .*\n)+)", run(*words, "--help"))
        names = re.findall(r"^  (\S+)", listed.group(1), re.M) if listed else []
        for name in names:
            yield (*words, name)
            yield from below(*words, name)
    return list(below())


def options(*words):
    """[(option, what its value is called or "")] from the help."""
    listed = re.search(r"\nOptions:\n((?:  .*\n)+)", run(*words, "--help")).group(1)
    found = re.findall(r"^  (?:-\w,)?(--[\w-]+)(?: ([A-Z]\S*))?", listed, re.M)
    return [(name, "" if value.startswith(("Excludes", "Needs")) else value)
            for name, value in found]


class Offers(unittest.TestCase):
    def test_every_subcommand_and_option_of_the_help(self):
        self.assertGreater(len(commands()), 5)
        for words in commands():
            self.assertIn(words[-1], offered(*words[:-1], ""))
            for option, _ in options(*words):
                self.assertIn(option, offered(*words, "-"), words)
        self.assertIn("--version", offered("--"))

    def test_every_option_with_a_value_leads_to_one_or_takes_a_number(self):
        for words in commands():
            for option, value in options(*words):
                if value and value not in ("N", "TIME"):
                    self.assertTrue(offered(*words, option, ""), (words, option, value))

    def test_every_subcommand_shows_an_example(self):
        for words in commands():
            self.assertIn("\nExample:\n  corebeacon ", run(*words, "--help"), words)

    def test_an_option_is_offered_once(self):
        self.assertIn("--chip", offered("run", "--c"))
        self.assertNotIn("--chip", offered("run", "--chip", "1", "--c"))
        self.assertEqual(offered("run", "--device", "k"), ["kernel", ""])
        self.assertEqual(offered("run", "--device=k"), ["--device=kernel", ""])
        self.assertEqual(offered("run", "--", "--"), [""])

    def test_a_file_where_one_is_meant(self):
        self.assertEqual(offered("run", ""), [""])
        self.assertEqual(offered("run", "--board", "x"), [""])
        self.assertEqual(offered("run", "story.qos", "x"), [])
        self.assertEqual(offered("check", "x"), [""])
        self.assertEqual(offered("replay", "x"), [""])

    def test_a_qos_where_one_is_meant(self):
        self.assertEqual(offered("explain", "GP"), ["GPU"])
        self.assertIn("CPU_L", offered("watch", "GPU", "CPU_"))
        self.assertEqual(offered("explain", "GPU", "--do", "wai"), ["wait"])

    def test_statements_of_a_script(self):
        self.assertIn("request", offered("do", ""))
        self.assertEqual(offered("do", "request pid=1 GP"), ["request pid=1 GPU."])
        self.assertEqual(offered("do", "wait 1s", "dump li"), ["dump limit_history"])

    def test_nothing_of_what_makes_no_sense(self):
        self.assertEqual(offered("frobnicate", "x"), [])
        self.assertEqual(offered("run", "--frobnicate=x"), [])
        self.assertEqual(run("complete"), "")


class InShells(unittest.TestCase):
    """In each shell that there is, typed on a terminal where the shell's own way matters."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        program = self.folder / "corebeacon"
        quoted = " ".join(f"'{word}'" for word in PROGRAM)
        program.write_text(f'#!/bin/sh\nexec {quoted} "$@"\n')
        program.chmod(0o755)
        (self.folder / "story.qos").touch()
        self.environment = dict(os.environ, PATH=f"{folder.name}:{os.environ['PATH']}",
                                TERM="xterm", HOME=folder.name, PS1="$ ")

    def shell(self, name):
        if shutil.which(name) is None:
            self.skipTest(f"there is no {name}; scripts/install-deps.sh test installs it")
        return name

    def script(self, shell, text):
        done = subprocess.run([self.shell(shell), "-c", text], capture_output=True, text=True,
                              timeout=60, check=False, cwd=self.folder, env=self.environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.splitlines()

    def bash(self, *words):
        """COMPREPLY for a command line."""
        listed = " ".join("'" + word.replace("'", "'\\''") + "'" for word in words)
        return self.script("bash", f"""
            source {COMPLETIONS}/corebeacon.bash
            COMP_WORDS=(corebeacon {listed}) COMP_CWORD={len(words)}
            _corebeacon corebeacon
            [ ${{#COMPREPLY[@]}} = 0 ] || printf '%s\\n' "${{COMPREPLY[@]}}" """)

    def test_bash_knows_whom_to_ask(self):
        self.assertIn("complete -F _corebeacon corebeacon",
                      self.script("bash", f"source {COMPLETIONS}/corebeacon.bash; complete -p"))

    def test_bash_completes_words(self):
        self.assertIn("check ", self.bash("c"))
        self.assertEqual(self.bash("run", "--dev"), ["--device "])
        self.assertEqual(self.bash("run", "--device", "=", "k"), ["kernel "])
        self.assertEqual(self.bash("run", "sto"), ["story.qos"])
        self.assertEqual(self.bash("do", "'request pid=1 GPU.b"),
                         ["request pid=1 GPU.boost=", "request pid=1 GPU.boost=..."])
        self.assertEqual(self.bash("frobnicate", "x"), [])

    def test_bash_puts_no_blank_behind_words_among_files(self):
        self.assertEqual(self.bash("run", "--device", "=", "s"), ["sim", "story.qos"])
        self.assertCountEqual(self.bash("run", "--device", "="),
                              ["sim", "kernel", "corebeacon", "story.qos"])

    def test_bash_completes_on_a_terminal(self):
        with Terminal([self.shell("bash"), "--norc", "-i"], self.environment) as terminal:
            terminal.type(f"cd {self.folder}; source {COMPLETIONS}/corebeacon.bash; echo rea''dy\r")
            terminal.wait_for("ready")
            terminal.type("corebeacon do 'sus\t")
            terminal.wait_for("corebeacon do 'suspend ")
            terminal.type("GP\t")
            terminal.wait_for("GPU ")
            terminal.type("\x15corebeacon run --dev\tke\tsto\t")
            terminal.wait_for("run --device kernel story.qos")
            terminal.type("\x15exit\r")
            terminal.wait_end()

    def test_zsh_completes_on_a_terminal(self):
        (self.folder / ".zshrc").write_text(
            f"fpath=({COMPLETIONS} $fpath)\nautoload -U compinit\ncompinit -u\nPROMPT='%% '\n"
            "setopt no_beep\n")
        with Terminal([self.shell("zsh"), "-i"], self.environment) as terminal:
            terminal.type(f"cd {self.folder}; echo rea''dy\r")
            terminal.wait_for("ready")
            terminal.type("corebeacon tab\t--xm\t")
            terminal.wait_for("table --xml")
            terminal.type("\x15corebeacon run --dev\tke\tsto\t")
            terminal.wait_for("run --device kernel story.qos")
            terminal.type("\x15exit\r")
            terminal.wait_end()

    def test_fish_asks_the_program(self):
        def fish(line):
            return [found.split("\t")[0] for found in self.script(
                "fish", f"source {COMPLETIONS}/corebeacon.fish; complete -C {line!r}")]
        self.assertIn("check", fish("corebeacon c"))
        self.assertEqual(fish("corebeacon run --dev"), ["--device"])
        self.assertEqual(fish("corebeacon run --device k"), ["kernel"])
        self.assertEqual(fish("corebeacon run sto"), ["story.qos"])

    def test_scripts_are_sound(self):
        for shell, name in (("bash", "corebeacon.bash"), ("zsh", "_corebeacon"),
                            ("fish", "corebeacon.fish")):
            if shutil.which(shell):
                subprocess.run([shell, "-n", COMPLETIONS / name], check=True, timeout=60)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
