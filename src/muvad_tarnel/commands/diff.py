"""`muvad-tarnel skill diff`."""

import click

from muvad_tarnel import __version__
from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import copy_record
from muvad_tarnel.installed.copies import Copy, State, document
from muvad_tarnel.installed.sightings import copies_read_by
from muvad_tarnel.output.console import printable
from muvad_tarnel.output.report import Block, Document, Line, Report, Tone


@click.command("diff")
@asked_for("both")
@output_options
def diff(request: Request) -> Report:
    """Show what an install would overwrite.

    That is, texts that this package didn't write. Every copy that the agents read is compared with this package's
    document of the same version (or of this version, if it bears none). Lines with - stand in the copy and would be
    lost, lines with + would come in their place. Line ends and a byte order mark are no difference.

    \b
    Examples:
      muvad-tarnel skill diff --all-agents
      muvad-tarnel skill diff --scope project --agent cursor

    \b
    Exit codes:
      0  the report is complete, whatever differs
      1  a copy could not be read
      2  the command line is wrong
    """
    copies = [copy for scope in request.roots for copy in copies_read_by(request.agents, scope, request.roots)]
    unreadable = [copy for copy in copies if copy.state is State.UNREADABLE]
    for copy in unreadable:
        request.console.error(f"{copy.path}: {copy.problem}: mend or remove it")
    differing = [copy for copy in copies if copy.difference]
    blocks: list[Block] = [Document("".join(difference(copy) for copy in differing), is_diff=True)]
    if not differing:
        blocks = [Line("No installed copy differs from this package's documents.", Tone.GOOD)]
    return Report(
        blocks,
        [
            copy_record(copy, request.agents) | {"difference": copy.difference, "diff": difference(copy)}
            for copy in differing
        ],
        exit_code=int(bool(unreadable)),
    )


def difference(copy: Copy) -> str:
    """A unified difference from the copy to this package's document, without control characters."""
    from difflib import unified_diff  # noqa: PLC0415 (needed only where something differs)

    version = copy.version or __version__
    lines = unified_diff(
        (copy.text or "").removeprefix("\ufeff").splitlines(),
        document(version, copy.skill).splitlines(),
        f"{copy.path} ({copy.difference})",
        f"{copy.skill} {version} of this package",
        lineterm="",
    )
    return "".join("\t".join(map(printable, line.split("\t"))) + "\n" for line in lines)
