"""`muvad-tarnel skill status`."""

from collections.abc import Iterator, Sequence
from itertools import chain

import click

from muvad_tarnel.commands import wording
from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.hints import advice, doubled, in_the_way, joined, skills_of, sufficient
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import readers_of
from muvad_tarnel.output.report import Block, Command, Line, Report, Table, Tone
from muvad_tarnel.planning import plans
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

_WRONG = (State.OUTDATED, State.INCOMPLETE, State.UNREADABLE, State.FOREIGN)


@skill_command("both", agents="those that find a skill or are in use")
@click.option("--check", is_flag=True, help="Exit 1 for the problems named above.")
def status(request: Request, *, check: bool) -> Report:
    """Show what is installed, and where agents find it.

    Without agents: every copy, and the agents that find one or are in use. With agents: the copies that they read. Each
    problem comes with the command that fixes it. Nothing is written.

    With --check the exit code is 1 if a named agent lacks a skill, if a copy is outdated, incomplete, unreadable or
    foreign, or, without agents, if nothing is installed or an agent finds only some of the skills. Modified and newer
    copies are accepted.

    An outdated or newer copy has another version than this package; a modified one has this version, with another text.
    An incomplete one is the beginning of a document: an install was cut off. A foreign one has no version: this package
    did not write it. An unreadable one is not UTF-8, a dangling link, a pipe, or can't be opened.

    \b
    Examples:
      muvad-tarnel skill status --check --scope project --agent claude    for CI
    """
    survey, scopes, named = request.survey, request.scopes, request.named
    finding = survey.finders(scopes)
    agents = named or [agent for agent in AGENT_CONFIG if agent in finding or agent in request.in_use]
    lacking = [agent for agent in agents if survey.lacking(agent, scopes)]
    partly = [agent for agent in lacking if agent in finding]
    obstacles = {agent: in_the_way(survey, scopes, agent) for agent in partly if not named}
    wanted: Sequence[str] = named or [agent for agent in lacking if agent in request.in_use]
    if not wanted:
        others = [agent for agent in lacking if not obstacles.get(agent)]
        wanted = sufficient(survey, scopes, others) if finding else skill.DEFAULT_AGENTS
    hints = advice(survey, scopes, wanted, about=named or AGENT_CONFIG)
    copies = list(listed(request))
    is_wrong = any(copy.state in _WRONG for copy in copies) or (lacking if named else partly or not finding)
    given = wording.advised(request, hints)
    return Report(
        blocks(request, copies, agents, explains_doubles=not given),
        [wording.copy_record(copy) for copy in copies],
        {"roots": {scope: str(request.roots[scope]) for scope in scopes}},
        agents=wording.agent_records(survey, scopes, agents),
        advice=given,
        errors=wording.obstacles_of(request, copies, chain(*obstacles.values(), *(h.obstacles for h in hints))),
        exit_code=int(check and bool(is_wrong)),
    )


def listed(request: Request) -> Iterator[Copy]:
    """The copies to list: existing ones, those that an install would write, and missing ones that an agent lacks."""
    survey, agents = request.survey, request.named or AGENT_CONFIG
    lacking = {agent: survey.lacking(agent, request.scopes) for agent in agents}
    planned = {copy.path for plan in plans(survey, request.scopes, request.named) for copy in plan.writes}
    for scope in request.scopes:
        in_use = {copy.directory for copy in survey.copies if copy.scope == scope and copy.is_found}
        for copy in survey.read_by(agents, [scope]):
            is_lacking = any(copy.skill in lacking[agent] for agent in readers_of(copy.directory, scope, agents))
            if copy.exists or copy.path in planned or (copy.directory in in_use and is_lacking):
                yield copy


def blocks(request: Request, copies: list[Copy], agents: Sequence[str], *, explains_doubles: bool) -> Iterator[Block]:
    """The report for people: the copies, where each agent finds each skill, and remarks on both."""
    states = (Line(f"{copy.state.value} {copy.version or ''}".rstrip(), wording.TONES[copy.state]) for copy in copies)
    yield from wording.copy_tables(request, "State", zip(copies, states, strict=True))
    if not request.survey.finders(request.scopes):
        yield Line("No agent finds a skill." if copies else "No skill is installed.", Tone.WARNING)
    if shown := wording.shortlist(request, agents):
        headings = ["For the user" if scope == "user" else "In the project" for scope in request.scopes]
        rows = [
            [Line(AGENT_CONFIG[agent].name), *(finds_cell(request, agent, scope) for scope in request.scopes)]
            for agent in shown
        ]
        yield Table("Where agents find the skills", ("Agent", *headings), rows)
    if others := len(agents) - len(shown):
        yield Line(f"{others} {'other ' if shown else ''}agents find skills here; -v lists them.")
    yield from wording.differences(request, copies)
    shadows = request.survey.shadows(request.named or AGENT_CONFIG) if len(request.scopes) == 2 else []
    if names := dict.fromkeys(shadow.user.skill for shadow in shadows if shadow.is_different):
        which = skills_of(names)
        yield Line(f"The copies of {which} at the two scopes differ, and one may hide the other.", Tone.WARNING)
        yield Command("to see:", request.command(None, ["shadowed"]))
    if explains_doubles:
        yield from map(Line, doubled(request.survey, request.scopes, shown))


def finds_cell(request: Request, agent: str, scope: Scope) -> Line:
    """Where an agent finds the skills at one scope: all of them in one place, or skill by skill."""
    skills = wording.skills_by_place(request, request.survey, agent, scope)
    where = {joined(places) if places else "nowhere": names for places, names in skills.items()}
    each = [f"{', '.join(names)}: {place}" for place, names in where.items()]
    text = "; ".join(each) if len(each) > 1 else joined(where)
    counts = {len(places) for places in skills}
    return Line(text, Tone.GOOD if counts == {1} else Tone.NEUTRAL if counts == {0} else Tone.WARNING)
