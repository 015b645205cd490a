"""Sentences, cells and records that several commands share."""

from collections.abc import Iterable, Sequence

from muvad_tarnel.commands.request import Request
from muvad_tarnel.hints import Advice, joined, names_of, skills_of, who_find
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
    "unknown": "not documented",
}


def state_cell(copy: Copy) -> Cell:
    """The state of a copy."""
    return Cell(copy.state.value, TONES[copy.state])


def scope_title(request: Request, scope: Scope) -> str:
    """The title of a table about one scope."""
    return f"{scope.capitalize()} scope: {request.roots[scope]}"


def readers_in_words(request: Request, directory: str, scope: Scope) -> str:
    """Who reads a directory: the agents named or detected, the others as a count, all of them with --verbose."""
    readers = readers_of(directory, scope)
    wanted = {*request.named, *request.in_use, *(() if request.named else skill.DEFAULT_AGENTS)}
    if request.console.verbose or not request.console.style.is_terminal:
        wanted = set(readers)
    names = [AGENT_CONFIG[agent].name for agent in readers if agent in wanted]
    others = len(readers) - len(names)
    word = ("other" if names else "agent") + "s" * (others > 1)
    return ", ".join([*names, *([f"{others} {word}"] if others else [])])


def copy_tables(
    request: Request, columns: Sequence[str], rows: Iterable[tuple[Copy, tuple[str | Cell, ...]]]
) -> list[Block]:
    """The copies, a table for each scope: their places, what the columns say of them, and their readers."""
    tables: dict[Scope, Table] = {}
    for copy, cells in rows:
        if copy.scope not in tables:
            headings = ("Directory", "Skill", *columns, "Read by")
            tables[copy.scope] = Table(scope_title(request, copy.scope), headings, [], shared=(1, 1))
        readers = readers_in_words(request, copy.directory, copy.scope)
        tables[copy.scope].rows.append((request.place(copy.scope, copy.directory), copy.skill, *cells, readers))
    return list(tables.values())


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


def advice_blocks(request: Request, advice: Advice) -> list[Block]:
    """The hints for people."""
    return [
        block
        for hint in advice.hints
        for block in (
            Line(f"{hint.reason}.", Tone.WARNING),
            Command("to fix:", command_line(request.command(hint.scope, hint.words))),
        )
    ]


def command_line(words: Sequence[str]) -> str:
    """A command as a shell takes it."""
    if all(word.replace("/", "").replace(".", "").replace("-", "").replace("_", "").isalnum() for word in words):
        return " ".join(words)
    from shlex import join  # noqa: PLC0415 (seldom needed)

    return join(words)


def finds_cell(request: Request, survey: Survey, agent: str, scope: Scope) -> Cell:
    """Where an agent finds the skills at one scope: all of them in one place, or skill by skill."""
    places: dict[tuple[str, ...], list[str]] = {}
    for name in skill.SKILL_TEMPLATES:
        found = survey.finds(agent, scope, name).values()
        places.setdefault(tuple(request.place(scope, copy.directory) for copy in found), []).append(name)
    words = []
    for directories, names in places.items():
        count = {0: "nowhere", 1: "", 2: "twice: "}.get(len(directories), f"{len(directories)} times: ")
        which = "" if len(places) == 1 else f"{', '.join(names)}: "
        words.append(which + count + (joined(directories) if directories else ""))
    counts = {len(directories) for directories in places}
    return Cell("; ".join(words), Tone.GOOD if counts == {1} else Tone.NEUTRAL if counts == {0} else Tone.WARNING)


def twice_lines(request: Request, survey: Survey, scope: Scope, verb: str = "") -> list[Block]:
    """Who finds skills several times at a scope, among the agents named or detected: a line for the same places."""
    seen: dict[tuple[str, ...], tuple[list[str], list[str]]] = {}
    for agent in dict.fromkeys((*request.named, *request.in_use)):
        for name in skill.SKILL_TEMPLATES:
            found = survey.finds(agent, scope, name).values()
            if len(found) > 1:
                agents, names = seen.setdefault(tuple(sorted(copy.directory for copy in found)), ([], []))
                agents += [agent] * (agent not in agents)
                names += [name] * (name not in names)
    lines: list[Block] = []
    for directories, (agents, names) in seen.items():
        count = {2: "twice"}.get(len(directories), f"{len(directories)} times")
        places = joined(request.place(scope, directory) for directory in directories)
        who = f"{names_of(agents)} {verb}" if verb else who_find(agents)
        lines.append(Line(f"{who} {skills_of(names)} {count}: in {places}.", Tone.WARNING))
    return lines
