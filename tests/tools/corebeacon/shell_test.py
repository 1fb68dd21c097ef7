"""shell_test.py PROGRAM...   the prompt as a person uses it, on a terminal; and without one."""

import os
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from terminal import Terminal  # noqa: E402

PROGRAM = sys.argv[1:]
PROMPT = "corebeacon> "
FLOOR = "policy2/scaling_min_freq"
TAB, CTRL_C, CTRL_D, CTRL_R, UP = "\t", "\x03", "\x04", "\x12", "\x1b[A"


class Prompt(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.state = Path(folder.name)
        self.environment = dict(os.environ, TERM="xterm", HOME=folder.name,
                                XDG_STATE_HOME=folder.name, NO_COLOR="1")

    def start(self, *options):
        terminal = Terminal(PROGRAM + ["shell", *options], self.environment)
        terminal.__enter__()
        self.addCleanup(terminal.__exit__)
        terminal.wait_for(PROMPT)
        return terminal

    def start_and_signal(self, number):
        terminal = self.start()
        # The thread sanitizer puts a signal aside that comes while nothing waits. During the first
        # wait of a thread it makes the place for that, and loses what comes meanwhile.
        if "COREBEACON_SIGNALS_GET_LOST" in os.environ:
            self.enter(terminal, "")
        terminal.signal(number)
        return terminal

    def enter(self, terminal, line):
        """Types a line and returns what it brings forth, up to the next prompt."""
        terminal.type(line + "\r")
        terminal.wait_for(line.strip()[-20:])
        return terminal.wait_for("\n" + PROMPT)

    def leave(self, terminal):
        terminal.type(CTRL_D)
        return terminal.wait_end()

    def test_a_statement_is_carried_out_as_it_is_entered(self):
        terminal = self.start()
        account = self.enter(terminal, "request pid=7 CPU_B.boost=1952000 as h1")
        self.assertRegex(account, FLOOR + " +1952000\n")
        account = self.enter(terminal, "release h1")
        self.assertRegex(account, FLOOR + " +1239000")
        self.assertEqual(self.leave(terminal), 0)
        self.assertIn("Final values", terminal.output)

    def test_tab_completes_as_far_as_it_goes_and_then_shows_what_may_follow(self):
        terminal = self.start()
        terminal.type("reque" + TAB)
        terminal.wait_for("request ")
        terminal.type("pi" + TAB + "7 GP" + TAB)
        terminal.wait_for("pid=7 GPU.")
        terminal.type("b" + TAB + "500000000 as h1\r")
        terminal.wait_for("gpufreq/min_freq")
        terminal.wait_for(PROMPT)
        terminal.type("dump " + TAB)
        terminal.wait_for("limit_history")
        terminal.type("v" + "\b" + "workM" + TAB + "\r")
        terminal.wait_for("dump workMode")
        terminal.wait_for("\n" + PROMPT)
        terminal.type("release " + TAB + "\r")
        terminal.wait_for("release h1")
        terminal.wait_for("\n" + PROMPT)
        self.assertEqual(self.leave(terminal), 0)

    def test_the_end_of_a_timed_request_is_told_while_a_line_is_typed(self):
        terminal = self.start()
        terminal.type("request pid=7 for=700ms CPU_B.boost=1952000 as h1\r")
        terminal.wait_for("\n" + PROMPT)
        terminal.type("dump lim")
        terminal.wait_for("dump lim")
        account = terminal.wait_for(PROMPT + "dump lim")
        self.assertRegex(account, r"\(h1 ends\)\n")
        self.assertRegex(account, FLOOR + " +1239000\n")
        terminal.type(TAB + "\r")
        terminal.wait_for("dump limit_history")
        terminal.wait_for("\n" + PROMPT)
        self.assertEqual(self.leave(terminal), 0)

    def test_a_recorded_shell_tells_an_end_in_time_and_can_be_replayed(self):
        recording = str(self.state / "run.rec")
        terminal = self.start("--record", recording)
        terminal.type("request pid=7 for=300ms CPU_B.boost=1952000 as h1\r")
        terminal.wait_for("\n" + PROMPT)
        account = terminal.wait_for(PROMPT)  # while nobody types
        self.assertRegex(account, r"\(h1 ends\)\n")
        self.assertRegex(account, FLOOR + " +1239000\n")
        self.assertEqual(self.leave(terminal), 0)
        replay = subprocess.run(PROGRAM + ["replay", recording], capture_output=True, text=True,
                                timeout=120, check=False)
        self.assertEqual(replay.stdout, "6 writes, all as recorded\n")
        self.assertEqual(replay.returncode, 0)

    def test_ctrl_c_cancels_the_line_and_no_more(self):
        terminal = self.start()
        terminal.type("request pid=7 CPU")
        terminal.wait_for("CPU")
        terminal.type(CTRL_C)
        terminal.wait_for("^C")
        terminal.wait_for(PROMPT)
        self.assertIn("core version: 5.1.0", self.enter(terminal, "version"))
        self.assertEqual(self.leave(terminal), 0)
        self.assertIn("No node was written.", terminal.output)

    def test_ctrl_c_cancels_a_wait(self):
        terminal = self.start()
        terminal.type("wait 3600s\r")
        terminal.wait_for("  wait 3600s")  # the account's own line: it has begun
        terminal.type(CTRL_C)
        terminal.wait_for("corebeacon: interrupted")
        terminal.wait_for(PROMPT)
        self.assertIn("core version", self.enter(terminal, "version"))
        self.assertEqual(self.leave(terminal), 0)

    def test_a_mistake_is_pointed_at(self):
        terminal = self.start()
        complaint = self.enter(terminal, "release h1")
        self.assertIn(" " * (len(PROMPT) + 8) + "^ no request before is named 'h1'", complaint)
        self.assertIn("no verb", self.enter(terminal, "help me"))
        self.assertIn("wait TIME", self.enter(terminal, "help wait"))
        self.assertIn("request pid=PID", self.enter(terminal, "help"))
        self.assertEqual(self.leave(terminal), 0)

    def test_a_name_is_free_again_after_its_release(self):
        terminal = self.start()
        self.enter(terminal, "request pid=7 CPU_B.boost=1952000 as h1")
        self.assertIn("was given in line 1 already",
                      self.enter(terminal, "request pid=8 CPU_B.boost=1952000 as h1"))
        self.enter(terminal, "release h1")
        self.assertIn("policy2", self.enter(terminal, "request pid=8 CPU_B.boost=2130000 as h1"))
        self.enter(terminal, "release h1")
        self.assertEqual(self.leave(terminal), 0)

    def test_former_lines_come_back_also_in_the_next_shell(self):
        terminal = self.start()
        self.enter(terminal, "dump workMode")
        terminal.type(UP + "\r")
        terminal.wait_for("dump workMode")
        terminal.wait_for("\n" + PROMPT)
        self.assertEqual(self.leave(terminal), 0)
        kept = self.state / "corebeacon" / "history"
        self.assertIn("workMode", kept.read_text())
        self.assertEqual(kept.stat().st_mode & 0o077, 0)
        terminal = self.start()
        terminal.type(CTRL_R + "workM")
        terminal.wait_for("dump workM")
        terminal.type("\r")
        terminal.wait_for("\n" + PROMPT)
        self.assertEqual(self.leave(terminal), 0)

    def test_exit_and_sigterm_leave(self):
        terminal = self.start()
        terminal.type("exit\r")
        self.assertEqual(terminal.wait_end(), 0)
        terminal = self.start_and_signal(signal.SIGTERM)
        self.assertEqual(terminal.wait_end(), 0)
        self.assertIn("No node was written.", terminal.output)

    def test_what_comes_right_behind_the_prompt_is_obeyed(self):
        for _ in range(25):
            self.assertEqual(self.leave(self.start()), 0)
            terminal = self.start_and_signal(signal.SIGTERM)
            self.assertEqual(terminal.wait_end(), 0)

    def test_leaving_awaits_what_is_timed_unless_it_is_interrupted(self):
        terminal = self.start()
        self.enter(terminal, "request pid=7 for=60s CPU_B.boost=1952000")
        terminal.type(CTRL_D)
        terminal.wait_for("Ctrl-C leaves at once")
        terminal.type(CTRL_C)
        terminal.wait_for("Final values")
        self.assertEqual(terminal.wait_end(), 0)


class Stream(unittest.TestCase):
    def play(self, text):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(PROGRAM + ["shell"], input=text, capture_output=True, text=True,
                                  timeout=120, check=False,
                                  env=dict(os.environ, XDG_STATE_HOME=folder))
            self.assertEqual(os.listdir(folder), [])  # no history
        return done

    def test_lines_are_carried_out_without_a_prompt(self):
        done = self.play("request pid=7 for=30ms CPU_B.boost=1952000 as h1\nwait 50ms\nexit\nfrob\n")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(done.stderr, "")
        self.assertNotIn(PROMPT, done.stdout)
        self.assertRegex(done.stdout, r"\(h1 ends\)")
        self.assertTrue(done.stdout.startswith("Simulated device"))

    def test_a_bad_line_is_passed_over_and_shows_in_the_exit_code(self):
        done = self.play("frobnicate\nversion\n")
        self.assertEqual(done.returncode, 2)
        self.assertIn("<stdin>:1:1: there is no verb 'frobnicate'", done.stderr)
        self.assertIn("core version", done.stdout)

    def test_a_refusal_shows_in_the_exit_code(self):
        done = self.play("request pid=7 for=1ms CPU_B.boost=1952000\n")
        self.assertEqual(done.returncode, 1)
        self.assertIn("<stdin>:1:1: request refused", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
