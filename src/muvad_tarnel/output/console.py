"""Reports on standard output, notes and errors on standard error."""

import sys
from dataclasses import dataclass

import click

from muvad_tarnel import __version__
from muvad_tarnel.output.report import Block, Command, Document, Line, Record, Report, Table, Tone
from muvad_tarnel.output.text import Style, encodable, printable, silence

# The version of the JSON objects' schema. Change it only if programs would misread objects of the new schema.
SCHEMA = 2


@dataclass(frozen=True, kw_only=True)
class Console:
    """Standard output for a command's report, standard error for notes and errors."""

    command: str
    style: Style
    json: bool
    quiet: bool
    verbose: bool

    def note(self, text: str, *, is_important: bool = False) -> None:
        """Print a note, with --quiet only if it is important."""
        if is_important or not self.quiet:
            self._say("note: " + text)

    def show(self, report: Report) -> None:
        """Print the errors, then the report in the requested format."""
        for error in report.errors:
            self._say(f"Error: {error}")
        if self.json:
            self._write(object_text(self.command, report, indent=2 if self.style.is_terminal else None))
            return
        blocks: list[Block] = [*report.blocks]
        for reason, command in report.advice:
            blocks += [Line(f"{reason}.", Tone.WARNING), command]
        if self.quiet:
            blocks = [block for block in blocks if isinstance(block, Document)]
        if self.style.is_terminal:
            from muvad_tarnel.output.terminal import drawn  # noqa: PLC0415 (rich takes longer to import than the rest)

            self._write(drawn(blocks, has_colour=self.style.has_colour))
        else:
            self._write(plain_text(blocks))

    def _say(self, text: str) -> None:
        try:
            click.echo(printable(text), err=True)
        except OSError:  # carry on without standard error
            silence(sys.stderr)

    def _write(self, text: str) -> None:
        try:
            click.echo(encodable(text), nl=False, color=True)
        except BrokenPipeError:  # the reader has closed the pipe, which is not a failure
            silence(sys.stdout)


def plain_text(blocks: list[Block]) -> str:
    """The blocks for pipes and files: no colours, no marks, every line whole."""
    lines: list[str] = []
    for block in blocks:
        match block:
            case Table(title, columns, rows):
                texts = [[printable(c.text if isinstance(c, Line) else c) for c in row] for row in (columns, *rows)]
                widths = [max(map(len, column)) for column in zip(*texts, strict=True)]
                lines += [""] * bool(lines) + [printable(title)] * bool(title)
                lines += ["  ".join(map(str.ljust, row, widths)).rstrip() for row in texts]
            case Line(text, _):
                lines.append(printable(text))
            case Command():
                lines.append(printable(str(block)))
            case Document(text, _):
                lines += text.splitlines()
    return "".join(line + "\n" for line in lines)


def object_text(command: str, report: Report, indent: int | None = None) -> str:
    """The report as one JSON object, in ASCII: one line unless indented."""
    import json  # noqa: PLC0415 (not needed for other formats)

    record: Record = {
        "schema": SCHEMA,
        "command": command,
        "version": __version__,
        **(report.facts or {}),
        "results": list(report.results),
        "agents": list(report.agents),
        "advice": [{"reason": reason, "command": command.words} for reason, command in report.advice],
        "errors": [{key: part or None for key, part in error._asdict().items()} for error in report.errors],
    }
    return json.dumps(record, indent=indent) + "\n"
