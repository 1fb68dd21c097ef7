"""A program on a terminal of its own, typed at and read from by a test."""

import os
import pty
import re
import select
import signal
import struct
import fcntl
import termios
import time

# Also a blank that is taken back at once.
CONTROL = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|\x07")
TAKEN_BACK = re.compile(r" \x08")


class Terminal:
    """Everything waits with a limit; what the program wrote is kept as it came."""

    def __init__(self, command, environment, columns=100, limit=60.0):
        self.limit = limit
        self.output = ""
        self.seen = 0  # the part of the output that was waited for already
        self.status = None
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.execvpe(command[0], command, environment)
        fcntl.ioctl(self.fd, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.status is None:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.fd)

    def type(self, text):
        os.write(self.fd, text.encode())

    def signal(self, number):
        os.kill(self.pid, number)

    def _read(self, deadline):
        """False once the program has closed its side."""
        ready, _, _ = select.select([self.fd], [], [], max(0.0, deadline - time.monotonic()))
        if not ready:
            raise AssertionError(f"nothing more comes after: {self.output[-2000:]!r}")
        try:
            data = os.read(self.fd, 65536)
        except OSError:  # a terminal without a program
            data = b""
        self.output += data.decode(errors="replace")
        return bool(data)

    def wait_for(self, text):
        """Waits until the text comes and returns what came before it, without control sequences."""
        deadline = time.monotonic() + self.limit
        while True:
            plain = TAKEN_BACK.sub("", CONTROL.sub("", self.output)).replace("\r", "")
            at = plain.find(text, self.seen)
            if at >= 0:
                before = plain[self.seen:at]
                self.seen = at + len(text)
                return before
            if not self._read(deadline):
                raise AssertionError(f"ended without {text!r}: {plain[self.seen:]!r}")

    def wait_end(self):
        """The exit code of the program."""
        deadline = time.monotonic() + self.limit
        while self._read(deadline):
            pass
        self.status = os.waitpid(self.pid, 0)[1]
        return os.waitstatus_to_exitcode(self.status)
