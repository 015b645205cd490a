"""The two streams that a command speaks through."""

import os
import sys
from collections.abc import Mapping
from contextlib import suppress
from pathlib import Path
from typing import NamedTuple, TextIO

import click

from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.output.report import Record, Report

# The version of the JSON objects' shape: it changes when a reader of the former shape would be misled.
SCHEMA = 1


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
    # None: the process was started with standard output closed.
    return sys.stdout.encoding if sys.stdout is not None else "utf-8"


def silence(stream: TextIO) -> None:
    """Have what a stream still holds, and is given from now on, go nowhere, so that it can be closed in peace."""
    with suppress(OSError):
        os.dup2(os.open(os.devnull, os.O_WRONLY), stream.fileno())


def can_encode(text: str) -> bool:
    """Whether standard output can express `text`."""
    try:
        text.encode(output_encoding())
    except UnicodeEncodeError:
        return False
    return True


class Console:
    """Standard output for a command's report, standard error for notes and errors."""

    def __init__(self, *, command: str, style: Style, json: bool, quiet: bool, verbose: bool) -> None:
        """Speak for `command`, by its `--json`, `--quiet` and `--verbose`."""
        self.command = command
        self.style = style
        self.verbose = verbose
        self._json = json
        self._quiet = quiet

    def note(self, text: str) -> None:
        """Say something beside the report."""
        if not self._quiet:
            self._say("note: " + text)

    def error(self, text: str) -> None:
        """Say what failed: one line."""
        self._say("Error: " + text)

    def place(self, scope: Scope, root: Path, directory: str) -> str:
        """A skills directory in words: short on a terminal, whole elsewhere and when details are wanted."""
        if not self.style.is_terminal or self.verbose:
            return str(root / directory)
        return f"~/{directory}" if scope == "user" else directory

    def show(self, report: Report) -> None:
        """Print the report the way that was asked for."""
        if self._json:
            self._write(object_text(self.command, report, indent=2 if self.style.is_terminal else None))
            return
        blocks = [block for block in report.blocks if not self._quiet or type(block).__name__ == "Document"]
        if self.style.is_terminal:
            from muvad_tarnel.output.terminal import drawn  # noqa: PLC0415 (rich takes longer than all the rest)

            self._write(drawn(blocks, self.style))
        else:
            from muvad_tarnel.output.plain import written  # noqa: PLC0415 (not needed for the other ways)

            self._write(written(blocks))

    def _say(self, text: str) -> None:
        try:
            click.echo(printable(text), err=True)
        except OSError:  # nobody listens: no reason to stop
            silence(sys.stderr)

    def _write(self, text: str) -> None:
        """Write to standard output, with `?` for what its encoding cannot express."""
        if not text:
            return
        encoding = output_encoding()
        try:
            click.echo(text.encode(encoding, "replace").decode(encoding), nl=False, color=True)
        except BrokenPipeError:  # the reader has seen enough: what the command did doesn't depend on that
            silence(sys.stdout)
        except OSError:
            silence(sys.stdout)
            raise


def object_text(command: str, report: Report, indent: int | None) -> str:
    """The report as one JSON object, in ASCII: one line unless indented."""
    import json  # noqa: PLC0415 (not needed for the other ways)

    record: Record = {"schema": SCHEMA, "command": command, "results": report.results, **(report.facts or {})}
    return json.dumps(record, indent=indent) + "\n"
