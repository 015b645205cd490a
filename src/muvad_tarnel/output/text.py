"""Adapt text to what standard output can show."""

import os
import sys
from contextlib import suppress
from typing import NamedTuple, TextIO

_IN_ASCII = str.maketrans("\N{CHECK MARK}\N{BALLOT X}\u2500", "+x-")


def printable(text: str) -> str:
    """`text` as one safe line, with unprintable characters replaced.

    These are control characters, line separators, direction overrides and undecodable bytes of file names (lone
    surrogates), which would break the line, control the terminal or fail to encode.
    """
    return "".join(c if c.isprintable() else "\N{REPLACEMENT CHARACTER}" for c in text)


class Style(NamedTuple):
    """The style of standard output."""

    is_terminal: bool  # tables and short paths; otherwise plain lines with full paths
    has_colour: bool

    @classmethod
    def choose(cls, colour: str) -> "Style":
        """The style for this process's standard output and the colour option: `auto`, `always` or `never`."""
        is_terminal = sys.stdout is not None and sys.stdout.isatty()
        if colour == "auto":
            is_forced = os.environ.get("FORCE_COLOR", "0") not in ("", "0")
            is_plain = os.environ.get("NO_COLOR") or (os.environ.get("TERM") == "dumb" and not is_forced)
            colour = "never" if is_plain else "always" if is_forced else "auto"
        is_table = is_terminal or colour == "always"
        return cls(is_table, is_table and colour != "never")


def encodable(text: str) -> str:
    """`text` made encodable for standard output: if needed, marks and rules become ASCII, and anything else `?`."""
    # Standard output is None if the process was started with it closed, and an in-memory stream has no encoding.
    encoding = getattr(sys.stdout, "encoding", None) or "utf-8"
    if not encoding.lower().startswith("utf"):
        text = text.translate(_IN_ASCII)
    return text.encode(encoding, "replace").decode(encoding)


def silence(stream: TextIO | None) -> None:
    """Discard a stream's buffered and future output, so that closing it can't fail."""
    if stream is not None:
        with suppress(OSError):
            os.dup2(os.open(os.devnull, os.O_WRONLY), stream.fileno())
