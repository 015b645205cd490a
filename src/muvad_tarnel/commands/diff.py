"""`muvad-tarnel skill diff`."""

from io import StringIO

from muvad_tarnel import __version__
from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import copy_record, obstacles_of
from muvad_tarnel.installed.copies import Copy, State, plain
from muvad_tarnel.installed.survey import each_once
from muvad_tarnel.installed.writing import difference
from muvad_tarnel.output.report import Document, Report
from muvad_tarnel.output.text import printable
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("both", agents="all")
def diff(request: Request) -> Report:
    """Show modified, newer and foreign texts that could be replaced.

    `install` or `update`, perhaps with --force, would replace these texts, and keep those that this package did not
    write as SKILL.md.bak. Each is compared with this package's document. Lines with - are in the copy only, lines with
    + in the document only. Line endings and a byte order mark are ignored.
    """
    read = request.survey.read_by(request.named or AGENT_CONFIG, request.scopes)
    copies = each_once(copy for copy in read if copy.exists)
    others = [copy for copy in copies if not copy.is_ours or copy.state is State.NEWER]
    obstacles = obstacles_of(request, others)
    differing = [copy for copy in others if copy.content is not None and not copy.misplaced]
    if not differing:
        request.console.note(f"no {'other ' if others else ''}copy is modified, newer or foreign")
    return Report(
        [Document("".join(map(unified, differing)), is_diff=True)] if differing else [],
        [copy_record(copy) | {"difference": difference(copy), "diff": unified(copy)} for copy in differing],
        errors=obstacles,
        exit_code=int(bool(obstacles)),
    )


def unified(copy: Copy) -> str:
    """A unified diff from the copy to this package's document, without control characters."""
    from difflib import unified_diff  # noqa: PLC0415 (only needed if something differs)

    def lines(text: str) -> list[str]:
        return [line if line.endswith("\n") else f"{line}\n\\ No newline at end of file\n" for line in StringIO(text)]

    compared = unified_diff(
        lines(plain(copy.content or b"").decode()),
        lines(skill.render_skill_md(skill_name=copy.skill)),
        f"{copy.path} ({difference(copy)})",
        f"{copy.skill} {__version__} of this package",
    )
    return "".join("\t".join(map(printable, line.split("\t"))) + "\n" for line in "".join(compared).split("\n")[:-1])
