"""What standard output can show."""

import os
import sys
from contextlib import suppress
from typing import NamedTuple, TextIO

_IN_ASCII = str.maketrans("\N{CHECK MARK}\N{BALLOT X}\u2500", "+x-")


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

    @classmethod
    def choose(cls, colour: str) -> "Style":
        """The style for this process's standard output and the wish for colour: `auto`, `always` or `never`."""
        is_terminal = sys.stdout is not None and sys.stdout.isatty()
        if colour == "auto":
            if os.environ.get("NO_COLOR"):
                colour = "never"
            elif os.environ.get("FORCE_COLOR", "0") not in ("", "0"):
                colour = "always"
            elif os.environ.get("TERM") == "dumb":
                colour = "never"
        is_table = is_terminal or colour == "always"
        return cls(is_table, is_table and colour != "never")


def encodable(text: str) -> str:
    """What standard output can express of `text`: marks and rules become ASCII, and anything else `?`."""
    # A process may be started with standard output closed (None); a stream in memory has no encoding.
    encoding = getattr(sys.stdout, "encoding", None) or "utf-8"
    try:
        text.encode(encoding)
    except UnicodeEncodeError:
        return text.translate(_IN_ASCII).encode(encoding, "replace").decode(encoding)
    return text


def silence(stream: TextIO | None) -> None:
    """Discard what a stream still holds, and is given from now on, so that closing it cannot fail."""
    if stream is not None:
        with suppress(OSError):
            os.dup2(os.open(os.devnull, os.O_WRONLY), stream.fileno())
