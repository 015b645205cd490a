"""Runs a program on a pseudo-terminal."""

import fcntl
import os
import pty
import struct
import subprocess
import termios
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import NamedTuple


class Screen(NamedTuple):
    """The output of a program on a terminal, both streams combined, and its exit code."""

    text: str
    exit_code: int

    @property
    def lines(self) -> list[str]:
        """The lines of the text, without line ends."""
        return self.text.replace("\r\n", "\n").splitlines()


def run_on_terminal(
    command: Sequence[str], environment: Mapping[str, str], columns: int, directory: Path | None = None
) -> Screen:
    """Run a command on a terminal of the given width, in the given directory."""
    screen, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
    process = subprocess.Popen(
        command, stdin=terminal, stdout=terminal, stderr=terminal, env=environment, cwd=directory
    )
    os.close(terminal)
    shown = b""
    try:
        while chunk := os.read(screen, 65536):
            shown += chunk
    except OSError:
        pass  # on Linux, the last program has closed the terminal
    os.close(screen)
    return Screen(shown.decode(errors="surrogateescape"), process.wait(60))
