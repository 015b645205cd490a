"""`muvad-tarnel skill status`."""

from collections.abc import Iterator
from typing import NamedTuple

import click

from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import (
    command_lines,
    copy_record,
    joined,
    outdated_lines,
    scope_title,
    skills_in_words,
    state_cell,
    twice_lines,
    twice_records,
)
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.plans import module_plan
from muvad_tarnel.installed.readers import names_of, readers_of
from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.installed.shadowing import pairs_among
from muvad_tarnel.installed.sightings import (
    OneFile,
    SeenTwice,
    Sightings,
    copies_read_by,
    linked_directories,
    outdated_outside,
    seen_twice,
    sightings,
)
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG

# Where the plan wants a skill, these states call for an install.
_WANTING = (State.MISSING, State.UNSTAMPED, State.UNREADABLE, State.OUTDATED)


class Findings(NamedTuple):
    """What was found at one scope."""

    scope: Scope
    planned: tuple[str, ...]
    copies: list[Copy]  # in every directory of the table, whoever reads it
    sightings: Sightings  # of the agents asked about
    twice: list[SeenTwice]
    linked: list[OneFile]

    def listed(self, agents: tuple[str, ...], *, verbose: bool) -> list[Copy]:
        """The copies worth a row: where the plan wants them, and wherever else the agents find one."""
        return [
            copy
            for copy in self.copies
            if readers_of(copy.directory, copy.scope, agents)
            and (copy.exists or copy.directory in self.planned or verbose)
        ]

    def wanting(self) -> list[Copy]:
        """The places where the plan wants a skill and an install would have to write it."""
        return [copy for copy in self.copies if copy.directory in self.planned and copy.state in _WANTING]


@click.command("status")
@asked_for("both")
@click.option("--check", is_flag=True, help="Exit 1 if a skill is missing or outdated where the plan wants it.")
@output_options
def status(request: Request, *, check: bool) -> Report:
    """Show what is installed and which agents read it.

    For the user and in the project: every directory that an install for these agents would write, and every other
    directory they read that holds a copy. Then, who sees a skill twice, and what to do. Nothing is written.

    \b
    States:
      current            this package's version and text
      update available   an older version
      newer              a newer version than this package's
      modified by hand   this version, another text
      unstamped          no version in it: not written by this package
      unreadable         not UTF-8, or not to be opened
      missing            nothing there

    \b
    Examples:
      muvad-tarnel skill status --all-agents
      muvad-tarnel skill status --check --scope project    for CI

    \b
    Exit codes:
      0  the report is complete; with --check: all that is planned is current
      1  a scope could not be looked at, or no agent was detected;
         with --check: something planned is missing, unstamped, unreadable
         or outdated (modified and newer copies count as current)
      2  the command line is wrong
    """
    request.note_moved()
    findings = [look(request, scope) for scope in request.roots]
    agents, console = request.agents, request.console
    listed = {found.scope: found.listed(agents, verbose=console.verbose) for found in findings}
    return Report(
        blocks(request, findings, listed),
        [
            copy_record(copy, agents) | {"planned": copy.directory in found.planned}
            for found in findings
            for copy in listed[found.scope]
        ],
        {
            "finds": [record for found in findings for record in sighting_records(found)],
            "seen_twice": [record for found in findings for record in twice_records(request, found.twice)],
        },
        exit_code=int(check and any(found.wanting() for found in findings)),
    )


def look(request: Request, scope: Scope) -> Findings:
    """Read all that is installed at a scope."""
    copies = copies_read_by(AGENT_CONFIG, scope, request.roots)
    return Findings(
        scope,
        tuple(module_plan(request.agents, scope)),
        copies,
        sightings(copies, request.agents, scope),
        seen_twice(copies, request.agents, scope),
        linked_directories(copies),
    )


def blocks(request: Request, findings: list[Findings], listed: dict[Scope, list[Copy]]) -> Iterator[Block]:
    """What a person gets to see: the copies, who finds them, and what to do."""
    for scope, copies in listed.items():
        if copies:
            yield table(request, scope, copies)
    yield finding_table(request, findings)
    for found in findings:
        yield from remarks(request, found)
        yield from twice_lines(request, found.twice)
    yield from shadow_remark(request, findings)


def table(request: Request, scope: Scope, copies: list[Copy]) -> Table:
    """The copies of one scope."""
    return Table(
        scope_title(request, scope),
        ("Directory", "Skill", "State", "Version", "Read by"),
        [
            (
                request.place(scope, copy.directory),
                copy.skill,
                state_cell(copy),
                copy.version or "",
                names_of(readers_of(copy.directory, scope, request.agents)),
            )
            for copy in copies
        ],
        wrapping=("Read by",),
        shared=(1, 1),
    )


def finding_table(request: Request, findings: list[Findings]) -> Table:
    """Where each agent finds each skill: a row for an agent, a column for a scope."""
    headings = {"user": "For the user", "project": "In the project"}
    columns = ("Agent", *(headings[found.scope] for found in findings))
    rows: list[tuple[str | Cell, ...]] = [
        (AGENT_CONFIG[agent].name, *(finding_cell(request, found, agent) for found in findings))
        for agent in request.agents
    ]
    return Table("Where each agent finds the skills", columns, rows, wrapping=columns[1:])


def finding_cell(request: Request, found: Findings, agent: str) -> Cell:
    """Where an agent finds the skills at one scope: in one place all of them, or skill by skill."""
    skills: dict[tuple[str, ...], list[str]] = {}
    for name in skill.SKILL_TEMPLATES:
        directories = tuple(copy.directory for copy in found.sightings[agent, name])
        skills.setdefault(directories, []).append(name)
    words = []
    for directories, names in skills.items():
        places = [request.place(found.scope, d) for d in directories]
        count = {0: "nowhere", 1: "", 2: "twice: "}.get(len(places), f"{len(places)} times: ")
        which = "" if len(skills) == 1 else f"{', '.join(names)}: "
        words.append(which + count + (joined(places) if places else ""))
    counts = {len(directories) for directories in skills}
    tone = Tone.BAD if counts == {0} else Tone.GOOD if counts == {1} else Tone.WARNING
    return Cell("; ".join(words), tone)


def remarks(request: Request, found: Findings) -> list[Block]:
    """What to do about one scope."""
    blocks: list[Block] = [
        Line(f"{copy.path} is unreadable: {copy.problem}.", Tone.BAD)
        for copy in found.listed(request.agents, verbose=False)
        if copy.state is State.UNREADABLE
    ]
    for link in found.linked:
        if any(readers_of(directory, found.scope, request.agents) for directory in link.directories):
            places = joined(request.place(found.scope, directory) for directory in link.directories)
            blocks.append(Line(f"{places} lead to the same files, which count once."))
    if wanting := found.wanting():
        count = f"{len(wanting)} of {len(found.planned) * len(skill.SKILL_TEMPLATES)}"
        blocks.append(Line(f"{found.scope.capitalize()} scope: {count} to be installed or updated.", Tone.WARNING))
        blocks += command_lines(("run:", request.line("install", found.scope, request.agents)))
    blocks += outdated_lines(request, found.scope, outdated_outside(found.copies, request.agents, found.scope))
    return blocks


def shadow_remark(request: Request, findings: list[Findings]) -> list[Block]:
    """A pointer to `shadowed`, when skills are found at both scopes."""
    copies = [copy for found in findings for copy in found.copies]
    pairs = [pair for pair in pairs_among(copies, request.agents) if not pair.is_one_file]
    if not pairs:
        return []
    names = dict.fromkeys(pair.skill for pair in pairs)
    return [
        Line(f"At both scopes: {skills_in_words(names)}. One copy may hide the other.", Tone.WARNING),
        *command_lines(("see:", request.line("shadowed", None, request.agents))),
    ]


def sighting_records(found: Findings) -> list[Record]:
    """Where each agent finds each skill, for programs."""
    return [
        {"agent": agent, "scope": found.scope, "skill": name, "paths": [str(copy.path) for copy in copies]}
        for (agent, name), copies in found.sightings.items()
    ]
