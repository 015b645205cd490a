"""`muvad-tarnel skill remove`."""

import os
from collections.abc import Iterable
from pathlib import Path
from typing import NamedTuple

import click

from muvad_tarnel.commands.options import dry_run_option, skill_command, skill_option
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.spelling import did_you_mean
from muvad_tarnel.commands.wording import (
    advice_blocks,
    advice_records,
    agent_records,
    copy_record,
    copy_tables,
)
from muvad_tarnel.failure import Obstacle, obstacle_of
from muvad_tarnel.hints import advice, joined, names_of, skills_of
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import directories_read, readers_of
from muvad_tarnel.installed.writing import clean_up, obstacle_to_removing, reason_to_keep
from muvad_tarnel.installed.writing import remove as remove_copy
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Tone
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Removal(NamedTuple):
    """What became of a copy: removed (or it would be), unless there is an obstacle. `forced` is what was not ours."""

    copy: Copy
    obstacle: Obstacle | None = None
    forced: str = ""


@skill_command("one", fails_if="a copy was kept or could not be removed")
@click.argument("directories", metavar="[DIRECTORY]...", nargs=-1)
@skill_option
@click.option("--force", is_flag=True, help="Also remove texts that this package did not write, and links.")
@dry_run_option
def remove(
    request: Request, *, directories: tuple[str, ...], names: tuple[str, ...], force: bool, dry_run: bool
) -> Report:
    """Remove installed skills.

    From each DIRECTORY: a path, which tells its scope, or with --scope as `agents` lists it: .claude/skills. Without
    one, every copy at the scope. Only a SKILL.md that this package wrote is removed, and its own directory if that
    is then empty; --force removes others too. Nothing is asked.

    \b
    Examples:
      muvad-tarnel skill remove ~/.cursor/skills
      muvad-tarnel skill remove --scope project --dry-run
    """
    survey = request.survey
    places = list(dict.fromkeys(meant(request, text) for text in directories))
    scopes = tuple(dict.fromkeys(scope for scope, _ in places)) or request.scopes
    places = places or [(request.scope, directory) for directory in directories_read(AGENT_CONFIG, request.scope)]
    wanted = (copy for place in places for copy in survey.at(*place))
    copies = {copy.link or copy.file: copy for copy in reversed(list(wanted)) if copy.exists}
    chosen = [copy for copy in reversed(copies.values()) if not names or copy.skill in names]
    if not dry_run:
        clean_up(copy for copy in survey.copies if copy.scope in scopes)
    removals = [removed(request, copy, force=force, dry_run=dry_run) for copy in chosen]
    after = survey.changed(State.MISSING, (removal.copy for removal in removals if not removal.obstacle))
    hints = advice(survey if dry_run else after, scopes, ())
    blocks = copy_tables(request, ["Result"], ((r.copy, (result_cell(r, dry_run=dry_run),)) for r in removals))
    if not removals:
        blocks.append(Line(f"Nothing to remove in {joined(request.place(*place) for place in places)}.", Tone.GOOD))
    return Report(
        [*blocks, *loss_lines(request, removals), *([] if dry_run else advice_blocks(request, hints))],
        [record(removal) for removal in removals],
        {"dry_run": dry_run},
        agents=agent_records(after, scopes, survey.finders(scopes)),
        advice=advice_records(request, hints),
        errors=[removal.obstacle for removal in removals if removal.obstacle],
        exit_code=int(any(removal.obstacle for removal in removals)),
    )


def meant(request: Request, text: str) -> tuple[Scope, str]:
    """The skills directory that is meant by a path, or in the table's spelling at the scope that was given."""
    if not text:
        raise click.BadParameter("a directory must not be empty.", param_hint="DIRECTORY")
    path = Path(os.path.abspath(Path(text).expanduser()))  # noqa: PTH100 (links stay, unlike with resolve)
    is_scope_given = request.is_scope_given
    known = {
        directory if is_scope_given else str(request.roots[scope] / directory): (scope, directory)
        for scope in (request.scopes if is_scope_given or request.project else request.roots)
        for directory in directories_read(AGENT_CONFIG, scope)
    }
    for spelling, (scope, directory) in known.items():
        place = request.roots[scope] / directory
        if text.rstrip("/") == spelling or path == place or parent_resolved(path) == parent_resolved(place):
            return scope, directory
    # All directories would fill a screen: those in use are what is meant.
    in_use = [spelling for spelling, place in known.items() if any(c.exists for c in request.survey.at(*place))]
    expected = f"; expected one of {', '.join(in_use)}" if in_use else ", and no skill is installed"
    message = (
        f"unknown directory {text!r}{expected}.{did_you_mean(text, [directory for _, directory in known.values()])}"
    )
    raise click.BadParameter(message, param_hint="DIRECTORY")


def parent_resolved(path: Path) -> Path:
    """A path without links above its last part: the way by which a shell came there makes no difference."""
    return path.parent.resolve() / path.name


def removed(request: Request, copy: Copy, *, force: bool, dry_run: bool) -> Removal:
    """Remove one copy."""
    forced = reason_to_keep(copy) if force else ""
    obstacle = obstacle_to_removing(copy, force=force)
    if not obstacle and not dry_run:
        try:
            remove_copy(copy, force=force)
        except OSError as error:
            obstacle = obstacle_of(error, copy.path)
    if forced and not obstacle:
        verb = "would remove" if dry_run else "removed"
        request.console.note(f"{verb} {copy.path}, {forced}", is_important=True)
    return Removal(copy, obstacle, forced)


def loss_lines(request: Request, removals: Iterable[Removal]) -> list[Block]:
    """Who finds a skill no more, among the agents detected or served by a directory alone."""
    copies = [removal.copy for removal in removals if not removal.obstacle]
    alone = {readers[0] for copy in copies if len(readers := readers_of(copy.directory, copy.scope)) == 1}
    groups: dict[tuple[Scope, tuple[str, ...]], list[str]] = {}
    for scope in dict.fromkeys(copy.scope for copy in copies):
        for agent, lost in request.survey.losses(copies, scope).items():
            if agent in request.in_use or agent in alone:
                groups.setdefault((scope, tuple(lost)), []).append(agent)
    lines: list[Block] = []
    for (scope, names), agents in groups.items():
        verb = "no longer finds" if len(agents) == 1 else "no longer find"
        lines.append(Line(f"{names_of(agents)} {verb} {skills_of(names)} at {scope} scope.", Tone.WARNING))
    return lines


def result_cell(removal: Removal, *, dry_run: bool) -> Cell:
    """What became of one copy."""
    if removal.obstacle:
        return Cell("kept", Tone.BAD)
    return Cell("would be removed" if dry_run else "removed", Tone.WARNING if removal.forced else Tone.GOOD)


def record(removal: Removal) -> Record:
    """What became of one copy, for programs. Its state and version are those from before."""
    return copy_record(removal.copy) | {
        "action": "kept" if removal.obstacle else "remove",
        "forced": removal.forced or None,
    }
