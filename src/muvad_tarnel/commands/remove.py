"""`muvad-tarnel skill remove`."""

import click

from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import copy_record, joined, scope_title
from muvad_tarnel.installed.copies import read_directories
from muvad_tarnel.installed.obstacles import advice
from muvad_tarnel.installed.plans import module_plan
from muvad_tarnel.installed.readers import directories_read, names_of, readers_of
from muvad_tarnel.installed.removal import Removal, remove_copy
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@click.command("remove")
@click.argument("directory", required=False)
@asked_for("one")
@click.option(
    "--skill",
    "names",
    multiple=True,
    type=click.Choice(list(skill.SKILL_TEMPLATES)),
    metavar="NAME",
    help=f"Only this skill, repeatable: {', '.join(skill.SKILL_TEMPLATES)}.",
)
@click.option("--force", is_flag=True, help="Take away texts as well that this package didn't write.")
@click.option("--dry-run", is_flag=True, help="Say what would be done and remove nothing.")
@output_options
def remove(request: Request, *, directory: str | None, names: tuple[str, ...], force: bool, dry_run: bool) -> Report:
    """Take installed skills away.

    From DIRECTORY, or from where an install for the agents writes them. DIRECTORY is one of the agents' skills
    directories, as `agents` lists them: .claude/skills. Nothing is asked. Only a SKILL.md whose text is exactly
    this package's document is taken away, and its own directory if that is then empty; --force takes others too.

    \b
    Examples:
      muvad-tarnel skill remove .cursor/skills
      muvad-tarnel skill remove --scope project --all-agents

    \b
    Exit codes:
      0  nothing of it is there any more, or would be (--dry-run)
      1  something was kept or could not be removed
      2  the command line is wrong
    """
    scope, console = request.scope, request.console
    root = request.roots[scope]
    directories = [known_directory(request, directory)] if directory else list(module_plan(request.agents, scope))
    copies = [
        copy
        for copy in read_directories(request.roots.get("project"), scope, directories)
        if copy.exists and (not names or copy.skill in names)
    ]
    removals = []
    for copy in copies:
        removal = remove_copy(copy, root, force=force, dry_run=dry_run)
        if removal.lost:
            console.note(f"{'would remove' if dry_run else 'removed'} {copy.path} by force, {removal.lost}")
        if removal.kept:
            console.error(f"{copy.path}: kept, {removal.kept}: --force takes it away")
        if removal.problem:
            console.error(f"{copy.path}: {removal.problem}: {advice(copy.path)}")
        removals.append(removal)
    places = joined(request.place(scope, name) for name in directories)
    blocks: list[Block] = [table(request, removals, dry_run=dry_run)] if removals else []
    if not removals:
        blocks.append(Line(f"Nothing to remove in {places}.", Tone.GOOD))
    return Report(
        blocks,
        [record(removal) for removal in removals],
        {"dry_run": dry_run},
        exit_code=0 if all(removal.success for removal in removals) else 1,
    )


def known_directory(request: Request, text: str) -> str:
    """The skills directory that is meant: as the table spells it, or by a path below the scope's root."""
    known = directories_read(AGENT_CONFIG, request.scope)
    root = request.roots[request.scope]
    for directory in known:
        if text.rstrip("/") in (directory, f"~/{directory}", str(root / directory)):
            return directory
    raise click.BadParameter(f"{text!r} is none of {', '.join(known)}.", param_hint="DIRECTORY")


def table(request: Request, removals: list[Removal], *, dry_run: bool) -> Table:
    """What became of each copy."""
    scope = request.scope
    return Table(
        scope_title(request, scope),
        ("Directory", "Skill", "Result", "Was read by"),
        [
            (
                request.place(scope, removal.copy.directory),
                removal.copy.skill,
                result_cell(removal, dry_run=dry_run),
                names_of(readers_of(removal.copy.directory, scope)),
            )
            for removal in removals
        ],
        wrapping=("Was read by",),
        shared=(1, 1),
    )


def result_cell(removal: Removal, *, dry_run: bool) -> Cell:
    """What became of one copy."""
    if removal.problem:
        return Cell("failed", Tone.BAD)
    if removal.kept:
        return Cell("kept", Tone.BAD)
    return Cell("would be removed" if dry_run else "removed", Tone.WARNING if removal.lost else Tone.GOOD)


def record(removal: Removal) -> Record:
    """What became of one copy, for programs."""
    return copy_record(removal.copy, AGENT_CONFIG) | {
        "success": removal.success,
        "removed": removal.removed,
        "kept": removal.kept or None,
        "problem": removal.problem or removal.copy.problem or None,
        "forced": removal.lost or None,
    }
