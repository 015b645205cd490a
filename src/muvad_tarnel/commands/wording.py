"""Sentences and records that several commands share."""

from collections.abc import Iterable

from muvad_tarnel.commands.options import Request
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.plans import module_plan
from muvad_tarnel.installed.readers import readers_of
from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.installed.sightings import SeenTwice, owners_of
from muvad_tarnel.output.report import Block, Cell, Line, Record, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG

TONES = {
    State.CURRENT: Tone.GOOD,
    State.NEWER: Tone.GOOD,
    State.MODIFIED: Tone.WARNING,
    State.OUTDATED: Tone.WARNING,
    State.UNSTAMPED: Tone.BAD,
    State.UNREADABLE: Tone.BAD,
    State.MISSING: Tone.BAD,
}


def state_cell(copy: Copy) -> Cell:
    """The state of a copy."""
    return Cell(copy.state.value, TONES[copy.state])


def scope_title(request: Request, scope: Scope) -> str:
    """What a table about one scope is headed with."""
    root = request.roots[scope]
    return f"User scope: {root}" if scope == "user" else f"Project scope: {root}"


def skills_in_words(names: Iterable[str]) -> str:
    """The names of skills, or that it is all of them."""
    wanted = list(names)
    return "every skill" if wanted == list(skill.SKILL_TEMPLATES) else ", ".join(wanted)


def agents_in_words(agents: tuple[str, ...]) -> str:
    """The agents' names, or their number if that says it better."""
    return joined(AGENT_CONFIG[agent].name for agent in agents) if len(agents) <= 3 else f"{len(agents)} agents"


def joined(words: Iterable[str]) -> str:
    """The words as an English list."""
    *most, last = words
    return f"{', '.join(most)} and {last}" if most else last


def command_lines(*labelled: tuple[str, str]) -> list[Block]:
    """Commands to copy, behind what they are for."""
    width = max((len(label) for label, _ in labelled), default=0)
    return [Line(f"    {label.ljust(width)}  {command}") for label, command in labelled]


def twice_lines(request: Request, found: list[SeenTwice], verbs: tuple[str, str] = ("sees", "see")) -> list[Block]:
    """Who sees skills twice, with the install that would have avoided it and the removal that mends it."""
    blocks: list[Block] = []
    for twice in found:
        places = joined(request.place(twice.scope, d) for d in twice.directories)
        count = {2: "twice"}.get(len(twice.directories), f"{len(twice.directories)} times")
        verb = verbs[len(twice.agents) > 1]
        who = joined(AGENT_CONFIG[agent].name for agent in twice.agents)
        sentence = f"{who} {verb} {skills_in_words(twice.skills)} {count}: in {places}."
        if not twice.avoided_by:
            sentence += " No choice of directories avoids that."
        blocks.append(Line(sentence, Tone.WARNING))
        avoided = [("avoided by:", line) for line in avoiding(request, twice)]
        blocks += command_lines(*avoided, *(("mended by:", line) for line in mending(request, twice)))
    return blocks


def avoiding(request: Request, twice: SeenTwice) -> list[str]:
    """The install that would have avoided a double sighting, if there is one."""
    return [request.line("install", twice.scope, twice.avoided_by)] if twice.avoided_by else []


def mending(request: Request, twice: SeenTwice) -> list[str]:
    """The commands that mend a double sighting: removals, after the install that makes up for them if one has to."""
    lines = [request.line("remove", twice.scope, rest=(directory,)) for directory in twice.mended_by]
    is_made_up_for = set(module_plan(twice.avoided_by, twice.scope)) <= set(twice.directories)
    return lines if is_made_up_for or not lines else [*avoiding(request, twice), *lines]


def outdated_lines(request: Request, scope: Scope, directories: Iterable[str]) -> list[Block]:
    """Outdated copies that an install for these agents doesn't reach, and what does."""
    blocks: list[Block] = []
    for directory in directories:
        place = request.place(scope, directory)
        blocks.append(Line(f"{place} is outdated, and an install for these agents doesn't write it.", Tone.WARNING))
        owners = owners_of(directory, scope, ())
        updates = [("or updated by:", request.line("install", scope, owners))] if len(owners) == 1 else []
        blocks += command_lines(("removed by:", request.line("remove", scope, rest=(directory,))), *updates)
    return blocks


def twice_records(request: Request, found: list[SeenTwice]) -> list[Record]:
    """The same for programs."""
    return [
        {
            "agents": list(twice.agents),
            "scope": twice.scope,
            "directories": [str(request.roots[twice.scope] / directory) for directory in twice.directories],
            "skills": list(twice.skills),
            "avoided_by": next(iter(avoiding(request, twice)), None),
            "mended_by": mending(request, twice),
        }
        for twice in found
    ]


def place_record(copy: Copy) -> Record:
    """Where a copy is, for programs."""
    return {"scope": copy.scope, "directory": copy.directory, "skill": copy.skill, "path": str(copy.path)}


def copy_record(copy: Copy, agents: Iterable[str]) -> Record:
    """A copy for programs: where it is, what it is, and which of the agents read it."""
    return place_record(copy) | {
        "state": copy.state.value,
        "version": copy.version,
        "problem": copy.problem or None,
        "agents": list(readers_of(copy.directory, copy.scope, agents)),
    }
