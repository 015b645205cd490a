"""Sentences, cells and records that several commands share."""

from collections.abc import Iterable, Sequence

from muvad_tarnel.commands.request import Request
from muvad_tarnel.failure import Obstacle
from muvad_tarnel.hints import Advice, joined
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import Survey, readers_of
from muvad_tarnel.output.report import Block, Cell, Command, Line, Record, Table, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

TONES = {
    State.CURRENT: Tone.GOOD,
    State.NEWER: Tone.GOOD,
    State.MODIFIED: Tone.WARNING,
    State.OUTDATED: Tone.WARNING,
    State.INCOMPLETE: Tone.BAD,
    State.FOREIGN: Tone.BAD,
    State.UNREADABLE: Tone.BAD,
    State.MISSING: Tone.BAD,
}

# What an agent does with two different copies, by its precedence.
EFFECTS = {
    "user": "user copy hides project copy",
    "project": "project copy hides user copy",
    "both": "both are listed",
    "unknown": "unknown (not documented)",
}


def shortlist(request: Request, agents: Sequence[str], *others: str) -> list[str]:
    """The agents to name on a terminal: those that were named or detected, and `others`. Elsewhere, all of them."""
    wanted = [agent for agent in agents if agent in (*request.named, *request.in_use, *others)]
    is_short = request.console.style.is_terminal and not request.console.verbose
    return wanted if is_short and len(wanted) + 1 < len(agents) else list(agents)


def readers_in_words(request: Request, directory: str, scope: Scope) -> str:
    """Who reads a directory: some by name, the others as a count."""
    readers = readers_of(directory, scope)
    named = shortlist(request, readers, *(() if request.named else skill.DEFAULT_AGENTS))
    names = [AGENT_CONFIG[agent].name for agent in named]
    others = len(readers) - len(names)
    return ", ".join([*names, *([f"{others} {'others' if names else 'agents'}"] if others else [])])


def which_skills(names: Sequence[str]) -> str:
    """The names of skills in a cell."""
    return "all" if len(names) == len(skill.SKILL_TEMPLATES) else ", ".join(names)


def copy_tables(request: Request, column: str, cells: Iterable[tuple[Copy, Cell]]) -> list[Block]:
    """The copies, a table for each scope, and a row for those skills of a directory of which the same is to be said."""
    skills: dict[tuple[Scope, str, Cell], list[str]] = {}
    for copy, cell in cells:
        skills.setdefault((copy.scope, copy.directory, cell), []).append(copy.skill)
    tables: dict[Scope, Table] = {}
    for (scope, directory, cell), names in skills.items():
        title = f"{scope.capitalize()} scope: {request.roots[scope]}"
        table = tables.setdefault(scope, Table(title, ("Directory", "Skills", column, "Read by"), []))
        readers = readers_in_words(request, directory, scope)
        table.rows.append((request.place(scope, directory), which_skills(names), cell, readers))
    return list(tables.values())


def obstacles_of(copies: Iterable[Copy]) -> list[Obstacle]:
    """Why copies that are there cannot be read, or must not be written: each obstacle once."""
    obstacles = (copy.misplaced or copy.obstacle for copy in copies if copy.exists)
    return list(dict.fromkeys(obstacle for obstacle in obstacles if obstacle))


def copy_record(copy: Copy) -> Record:
    """A copy for programs."""
    return {
        "scope": copy.scope,
        "directory": copy.directory,
        "skill": copy.skill,
        "path": str(copy.path),
        "state": copy.state.value,
        "version": copy.version,
        "agents": readers_of(copy.directory, copy.scope),
    }


def agent_records(survey: Survey, scopes: Sequence[Scope], agents: Iterable[str]) -> list[Record]:
    """Where each agent finds each skill, for programs."""
    return [
        {
            "agent": agent,
            "name": AGENT_CONFIG[agent].name,
            "finds": [
                {
                    "scope": scope,
                    "skill": name,
                    "paths": [str(c.path) for c in survey.finds(agent, scope, name).values()],
                }
                for scope in scopes
                for name in skill.SKILL_TEMPLATES
            ],
        }
        for agent in agents
    ]


def advice_records(request: Request, advice: Advice) -> list[Record]:
    """The hints for programs."""
    return [{"reason": h.reason, "command": request.command(h.scope, h.words)} for h in advice.hints]


def advice_blocks(request: Request, advice: Advice, doubles: Iterable[str] = (), label: str = "to fix:") -> list[Block]:
    """The hints for people, without their commands if these have no label; or else why skills are found twice."""
    blocks: list[Block] = []
    for hint in advice.hints:
        blocks.append(Line(f"{hint.reason}.", Tone.WARNING))
        if label:
            blocks.append(Command(label, command_line(request.command(hint.scope, hint.words))))
    return blocks or [Line(reason) for reason in doubles]


def command_line(words: Sequence[str]) -> str:
    """A command as a shell takes it."""
    from shlex import join  # noqa: PLC0415 (not needed with --json)

    return join(words)


def times(number: int) -> str:
    """How often, after a space; nothing for once."""
    return {0: "", 1: "", 2: " twice:"}.get(number, f" {number} times:")


def finds_cell(request: Request, survey: Survey, agent: str, scope: Scope) -> Cell:
    """Where an agent finds the skills at one scope: all of them in one place, or skill by skill."""
    skills: dict[tuple[str, ...], list[str]] = {}
    for name in skill.SKILL_TEMPLATES:
        found = survey.finds(agent, scope, name).values()
        skills.setdefault(tuple(request.place(scope, copy.directory) for copy in found), []).append(name)
    words = [
        f"{', '.join(names)}:{times(len(places))} {joined(places) if places else 'nowhere'}"
        for places, names in skills.items()
    ]
    text = "; ".join(words) if len(words) > 1 else words[0].partition(": ")[2]
    counts = {len(places) for places in skills}
    return Cell(text, Tone.GOOD if counts == {1} else Tone.NEUTRAL if counts == {0} else Tone.WARNING)
