"""`muvad-tarnel skill remove`."""

import os
from collections.abc import Sequence
from functools import partial
from pathlib import Path

import click

from muvad_tarnel.commands.changes import Outcome, attempt, report_of
from muvad_tarnel.commands.options import dry_run_option, skill_command, skill_option
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.spelling import did_you_mean
from muvad_tarnel.commands.wording import command_line
from muvad_tarnel.hints import agent_words, joined, who_find
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.survey import directories_read, readers_of
from muvad_tarnel.installed.writing import clean_up, obstacle_to_removing, reason_to_keep
from muvad_tarnel.installed.writing import remove as remove_copy
from muvad_tarnel.output.report import Block, Command, Line, Report, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


@skill_command("one")
@click.argument("directories", metavar="[DIRECTORY]...", nargs=-1)
@skill_option
@click.option("--force", is_flag=True, help="Also remove texts that this package did not write, and links.")
@dry_run_option
def remove(request: Request, *, directories: tuple[str, ...], names: tuple[str, ...], force: bool) -> Report:
    """Remove installed skills.

    DIRECTORY is a skills directory, such as ~/.claude/skills or, in a project, .claude/skills. Without one, every copy
    at the scope is removed, at once and without a question; `install` writes them again.

    Only texts that this package wrote are removed, each with its own directory if that is then empty. Backups
    (SKILL.md.bak) and empty skills directories stay.

    \b
    Examples:
      muvad-tarnel skill remove ~/.cursor/skills
      muvad-tarnel skill remove --scope project --dry-run
    """
    survey = request.survey
    places = list(dict.fromkeys(meant(request, text) for text in directories))
    if places:  # they tell the scopes
        request.scopes = tuple(dict.fromkeys(scope for scope, _ in places))
    else:
        places = [(request.scope, directory) for directory in directories_read(AGENT_CONFIG, request.scope)]
    wanted = (copy for place in places for copy in survey.at(*place))
    copies = {copy.link or copy.file: copy for copy in reversed(list(wanted)) if copy.exists}
    chosen = [copy for copy in reversed(copies.values()) if not names or copy.skill in names]
    if not request.dry_run:
        clean_up(copy for copy in survey.copies if copy.scope in request.scopes)
    outcomes = [removed(request, copy, force=force) for copy in chosen]
    where = f"in {joined(request.place(*place) for place in places)}" if directories else f"at {request.scope} scope"
    losses = loss_lines(request, [outcome.copy for outcome in outcomes if outcome.is_done])
    return report_of(request, outcomes, (), nothing=f"Nothing to remove {where}.", remarks=losses)


def meant(request: Request, text: str) -> tuple[Scope, str]:
    """The skills directory that is meant by a path, or in the table's spelling."""
    if not text:
        raise click.BadParameter("a directory must not be empty.", param_hint="DIRECTORY")
    paths = {
        parent_resolved(Path(os.path.abspath(base / Path(text).expanduser())))  # noqa: PTH100 (links stay)
        for base in (Path(), request.project or Path())
    }
    is_scope_known = bool(request.is_scope_given or request.project)
    known = {
        directory if is_scope_known else str(request.roots[scope] / directory): (scope, directory)
        for scope in (request.scopes if is_scope_known else request.roots)
        for directory in directories_read(AGENT_CONFIG, scope)
    }
    for scope, directory in known.values():
        if parent_resolved(request.roots[scope] / directory) in paths:
            return scope, directory
    # The table's spelling: at the scope that was given, or in the project when the current directory is below its root.
    for scope, directory in known.values():
        is_meant = is_scope_known or (scope == "project" and not os.path.lexists(text))
        if os.path.normpath(text) == directory and is_meant:
            return scope, directory
    # All directories would fill the screen; those in use are the likely ones.
    in_use = {spelling: place for spelling, place in known.items() if any(c.exists for c in request.survey.at(*place))}
    expected = f"; expected one of {', '.join(in_use)}" if in_use else ", and no skill is installed"
    folder, _, name = text.rstrip("/").rpartition("/")
    if name in skill.SKILL_TEMPLATES and folder:
        guess = f" Did you mean '{folder} --skill {name}'?"
    else:
        guess = did_you_mean(text, {directory for _, directory in in_use.values()} - {os.path.normpath(text)})
    raise click.BadParameter(f"unknown skills directory {text!r}{expected}.{guess}", param_hint="DIRECTORY")


def parent_resolved(path: Path) -> Path:
    """The path with links resolved above its last part, whichever way the shell took."""
    return Path(os.path.realpath(path.parent), path.name)  # unlike Path.resolve, never raises for a loop


def removed(request: Request, copy: Copy, *, force: bool) -> Outcome:
    """Remove one copy."""
    reason = reason_to_keep(copy)
    obstacle = obstacle_to_removing(copy, force=force)
    outcome = attempt(request, copy, "remove", obstacle, partial(remove_copy, force=force))
    if reason and outcome.is_done:
        verb = "would remove" if request.dry_run else "removed"
        request.console.note(f"{verb} {copy.path}, {reason}", is_important=True)
    return outcome


def loss_lines(request: Request, copies: Sequence[Copy]) -> list[Block]:
    """Who no longer finds a skill, among the agents detected and the owners of the directories, and how to undo it."""
    lines: list[Block] = []
    for scope in request.scopes:
        losses = request.survey.losses(copies, scope)
        owners = dict.fromkeys(owner_of(copy.directory, scope) for copy in copies if copy.scope == scope)
        losing: dict[str, list[str]] = {}
        for agent, names in losses.items():
            if agent in (*owners, *request.in_use):
                lost = "any skill" if len(names) == len(skill.SKILL_TEMPLATES) else joined(names)
                losing.setdefault(lost, []).append(agent)
        for lost, agents in losing.items():
            how = "would no longer" if request.dry_run else "no longer"
            lines.append(Line(f"{who_find(agents, how)} {lost} at {scope} scope.", Tone.WARNING))
        deprived = [agent for agent in owners if agent in losses]
        if deprived and not request.dry_run:
            words = request.command(scope, ["install", "--scope", scope, *agent_words(deprived)])
            lines.append(Command("to install again:", command_line(words)))
    return lines


def owner_of(directory: str, scope: Scope) -> str:
    """The agent whose own directory it is, or that reads it before others."""
    return min(readers_of(directory, scope), key=lambda agent: AGENT_CONFIG[agent].directories(scope).index(directory))
