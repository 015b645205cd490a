"""`muvad-tarnel skill remove`."""

import os
from collections.abc import Iterator, Sequence
from functools import partial
from pathlib import Path

import click

from muvad_tarnel.commands.changes import change_each, report_of
from muvad_tarnel.commands.options import dry_run_option, skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.spelling import Choice, did_you_mean
from muvad_tarnel.commands.wording import advised
from muvad_tarnel.hints import Hint, agent_words, joined, skills_of, who_find
from muvad_tarnel.installed import writing
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.survey import directories_read, grouped, readers_of
from muvad_tarnel.output.report import Line, Report, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


@skill_command("one")
@click.argument(
    "directories", metavar="[DIRECTORY]...", nargs=-1, shell_complete=click.Path(file_okay=False).shell_complete
)
@click.option(
    "--skill", "names", multiple=True, type=Choice(skill.SKILL_TEMPLATES), help="Only this skill; repeatable."
)
@click.option("--force", is_flag=True, help="Delete any text, without a backup, and links in place of a copy.")
@dry_run_option
def remove(request: Request, *, directories: tuple[str, ...], names: tuple[str, ...], force: bool) -> Report:
    """Remove installed skills.

    DIRECTORY is a skills directory, such as ~/.claude/skills or, in a project, .claude/skills; it tells the scope.
    Without one, every copy at the scope is removed, at once and without a question; `install` writes them again.

    Only texts that this package wrote are removed, each with its own directory if that is then empty. Backups
    (SKILL.md.bak) and empty skills directories stay.
    """
    survey = request.survey
    places = list(dict.fromkeys(meant(request, text) for text in directories))
    if places:  # they determine the scopes
        request.scopes = tuple(dict.fromkeys(scope for scope, _ in places))
    else:
        places = [(request.scope, directory) for directory in directories_read(AGENT_CONFIG, request.scope)]
    wanted = [copy for place in places for copy in survey.at(*place) if not names or copy.skill in names]
    there = grouped((parent_resolved(copy.link or copy.file), copy) for copy in wanted if copy.exists or copy.link)
    obstacle_to, change = partial(writing.obstacle_to_removing, force=force), partial(writing.remove, force=force)
    outcomes = list(change_each(request, (same[0] for same in there.values()), obstacle_to, change, "remove"))
    done = [outcome.copy for outcome in outcomes if outcome.is_done]
    backups = (path for copy in wanted for path in copy.path.parent.glob("SKILL.md.bak*"))
    if left := {parent_resolved(path): str(path) for path in backups}:  # links may lead to one several times
        request.console.note(f"backups left: {joined(sorted(left.values()))}", is_important=True)
    losses = list(lost(request, done))
    remarks = [Line(f"{loss.reason}.", Tone.WARNING) for loss in losses if request.dry_run]
    if not outcomes:
        other = "user" if "project" in request.scopes else "project"
        ours = (copy for copy in survey.copies if copy.is_ours and copy.scope == other)
        own = {copy.place for copy in ours if not directories or ("project", copy.directory) in places}
        where = f"in {joined(request.place(*each) for each in places)}" if directories else f"at {request.scope} scope"
        elsewhere = f"; for those in {joined(sorted(own))}, use --scope {other}" if own else ""
        remarks = [Line(f"Nothing to remove {where}{elsewhere}.", Tone.GOOD)]
    report = report_of(request, outcomes, (), remarks)
    again = [] if request.dry_run else advised(request, losses, "to install again:")
    return report._replace(advice=[*again, *report.advice])


def meant(request: Request, text: str) -> tuple[Scope, str]:
    """The skills directory for an argument: a path, or a directory as the table spells it."""
    if not text:
        raise click.BadParameter("a directory must not be empty.", param_hint="DIRECTORY")
    path = parent_resolved(Path(os.path.abspath(Path(text).expanduser())))  # noqa: PTH100 (keeps links)
    scope = request.scope if request.is_scope_given else "project"
    every = [(each, directory) for each in request.roots for directory in directories_read(AGENT_CONFIG, each)]
    same = [place for place in every if parent_resolved(request.roots[place[0]] / place[1]) == path]
    spelled = [place for place in every if place[1] == os.path.normpath(text)]
    found = [place for place in same if place[0] == scope or not request.is_scope_given]
    # The table's spelling: at the given scope, or in the project if the current directory is below the project's root.
    if request.is_scope_given or not os.path.lexists(text):
        found += [place for place in spelled if place[0] == scope]
    if found:
        return found[0]
    copy_path = Path(text.removesuffix("/SKILL.md"))
    problem = "unknown skills directory"
    if others := same + spelled:
        problem = f"no skills directory at {scope} scope:"
        guess = f" For {request.survey.at(*others[0])[0].place}, use --scope {others[0][0]}."
    elif copy_path.name in skill.SKILL_TEMPLATES and copy_path.parent.name == "skills":
        guess = f" Did you mean '{copy_path.parent}' with --skill {copy_path.name}?"
    elif os.path.isdir(path) and f"{path.parent.name}/{path.name}" in directories_read(AGENT_CONFIG, "project"):  # noqa: PTH112
        problem, guess = "a skills directory of another project:", f" Use -C {str(path.parents[1])!r}."
    else:
        guess = did_you_mean(text, [directory for each, directory in every if each == scope])
    # Suggest only the directories in use: they are the likely ones, and all would fill the screen.
    copies = (copy for copy in request.survey.copies if copy.scope == scope or not request.is_scope_given)
    in_use = dict.fromkeys(str(copy.root / copy.directory) for copy in copies if copy.exists)
    installed = f"; skills are installed in {', '.join(in_use)}" if in_use else ""
    raise click.BadParameter(f"{problem} {text!r}{installed}.{guess}", param_hint="DIRECTORY")


def parent_resolved(path: Path) -> Path:
    """The path with links resolved except in its last part, to compare paths that use different links."""
    return Path(os.path.realpath(path.parent), path.name)  # unlike Path.resolve, never raises for a loop of links


def lost(request: Request, copies: Sequence[Copy]) -> Iterator[Hint]:
    """Hints for agents that lose skills: detected ones, those with one directory, and a reader of every other copy."""
    how = "would no longer" if request.dry_run else "no longer"
    for scope in request.scopes:
        losses = request.survey.losses(copies, [scope])
        told = {each for each in losses if each in request.in_use or len(AGENT_CONFIG[each].directories(scope)) == 1}
        for readers in [readers_of(copy.directory, scope, losses) for copy in copies if copy.scope == scope]:
            if told.isdisjoint(readers):
                told.update(readers[:1])
        for names, agents in grouped((tuple(names), agent) for agent, names in losses.items()).items():
            if named := [agent for agent in agents if agent in told]:
                words = ("install", "--scope", scope, *agent_words(named))
                who = who_find(named if len(named) <= 3 else agents, how)  # a number is that of all
                yield Hint(f"{who} {skills_of(names, 'any skill')} at {scope} scope", scope, words)
