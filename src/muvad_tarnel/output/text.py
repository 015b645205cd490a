"""What standard output can show."""

import os
import sys
from collections.abc import Mapping
from contextlib import suppress
from typing import NamedTuple, TextIO


def printable(text: str) -> str:
    """`text` as one harmless line: what cannot be shown is replaced.

    That is control characters, line separators, direction overrides and undecodable bytes of file names (lone
    surrogates): they would break the line, steer the terminal or fail to encode.
    """
    if text.isprintable():
        return text
    return "".join(c if c.isprintable() else "\N{REPLACEMENT CHARACTER}" for c in text)


class Style(NamedTuple):
    """How standard output is to be written."""

    is_terminal: bool  # tables, short paths; otherwise plain lines with whole paths
    has_colour: bool
    has_marks: bool  # whether the encoding knows a check mark

    @classmethod
    def choose(cls, colour: str, environment: Mapping[str, str]) -> "Style":
        """The style for this process's standard output and the wish for colour: `auto`, `always` or `never`."""
        is_terminal = sys.stdout is not None and sys.stdout.isatty()
        if colour == "auto":
            if environment.get("NO_COLOR"):
                colour = "never"
            elif environment.get("FORCE_COLOR", "0") not in ("", "0"):
                colour = "always"
            elif environment.get("TERM") == "dumb":
                colour = "never"
        is_table = is_terminal or colour == "always"
        return cls(is_table, is_table and colour != "never", can_encode("\N{CHECK MARK}\N{BALLOT X}\u2500"))


def output_encoding() -> str:
    """The encoding of standard output."""
    # A process may be started with standard output closed (None); a stream in memory has no encoding.
    return getattr(sys.stdout, "encoding", None) or "utf-8"


def can_encode(text: str) -> bool:
    """Whether standard output can express `text`."""
    try:
        text.encode(output_encoding())
    except UnicodeEncodeError:
        return False
    return True


def silence(stream: TextIO | None) -> None:
    """Discard what a stream still holds, and is given from now on, so that closing it cannot fail."""
    if stream is not None:
        with suppress(OSError):
            os.dup2(os.open(os.devnull, os.O_WRONLY), stream.fileno())
