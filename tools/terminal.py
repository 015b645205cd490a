"""Running a program on a terminal at which nobody sits."""

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
    """What a terminal was sent, both streams together, and the program's exit code."""

    text: str
    exit_code: int

    @property
    def lines(self) -> list[str]:
        """The text's lines, without the terminal's line ends."""
        return self.text.replace("\r\n", "\n").splitlines()


def run_on_terminal(
    command: Sequence[str], environment: Mapping[str, str], columns: int, directory: Path | None = None
) -> Screen:
    """Run a command on a terminal of that width, in that directory."""
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
        pass  # how Linux says that the last program has left the terminal
    os.close(screen)
    return Screen(shown.decode(errors="surrogateescape"), process.wait(60))
