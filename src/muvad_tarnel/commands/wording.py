"""Sentences, cells and records that several commands share."""

from collections.abc import Iterable, Iterator, Sequence
from itertools import product

from muvad_tarnel.commands.request import Request
from muvad_tarnel.failure import Obstacle
from muvad_tarnel.hints import Hint, which_are
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import Survey, by_file, each_once, grouped, readers_of
from muvad_tarnel.output.report import Advice, Block, Command, Line, Record, Table, Tone
from muvad_tarnel.planning import obstacles_to
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

TONES = dict.fromkeys(State, Tone.BAD)
TONES |= {State.CURRENT: Tone.GOOD, State.NEWER: Tone.GOOD}
TONES |= {State.MODIFIED: Tone.WARNING, State.OUTDATED: Tone.WARNING}

# What an agent does with two different copies, by its precedence.
EFFECTS = {
    "user": "user copy hides project copy",
    "project": "project copy hides user copy",
    "both": "both are listed",
    "unknown": "not documented by the agent",
}


def shortlist(request: Request, agents: Sequence[str]) -> list[str]:
    """The agents to list: on a terminal, the named or default ones and the detected ones; elsewhere, all."""
    wanted = [agent for agent in agents if agent in (*request.agents, *request.in_use)]
    is_short = request.console.style.is_terminal and not request.console.verbose
    return wanted if is_short and len(wanted) + 1 < len(agents) else list(agents)


def readers_in_words(request: Request, directories: Iterable[str], scope: Scope) -> str:
    """The readers of any of the directories: some by name, the others as a number."""
    readers = [agent for agent, record in AGENT_CONFIG.items() if {*directories} & {*record.directories(scope)}]
    names = [AGENT_CONFIG[agent].name for agent in shortlist(request, readers)]
    others = len(readers) - len(names)
    return ", ".join([*names, *([f"{others} {'others' if names else 'agents'}"] if others else [])])


def which_skills(names: Sequence[str]) -> str:
    """The names of skills for a table cell."""
    return "all" if len(names) == len(skill.SKILL_TEMPLATES) else ", ".join(names)


def copy_tables(request: Request, column: str, cells: Iterable[tuple[Copy, Line]]) -> list[Block]:
    """The copies in a table for each scope. Skills of a directory with equal cells share a row."""
    files = by_file(request.survey.copies)

    def directories(copy: Copy) -> tuple[str, ...]:
        same = files[copy.file] if not copy.link else []
        return tuple(each.directory for each in same if each.scope == copy.scope and not each.link) or (copy.directory,)

    pairs = dict.fromkeys(((copy.scope, directories(copy), cell), copy.skill) for copy, cell in cells)
    rows = []
    for (scope, same, cell), names in grouped(pairs).items():
        place = ", same as ".join(request.place(scope, directory) for directory in same)
        rows.append((scope, (place, which_skills(names), cell, readers_in_words(request, same, scope))))
    columns = ("Directory", "Skills", column, "Read by")
    return [Table(request.title(scope), columns, of_scope) for scope, of_scope in grouped(rows).items()]


def obstacles_of(request: Request, copies: Iterable[Copy], others: Iterable[Obstacle] = ()) -> list[Obstacle]:
    """Why existing copies can't be read or updated, and other obstacles. Other misplaced links only get a note."""
    found = [(copy.misplaced or copy.obstacle, copy) for copy in copies if copy.exists]
    obstacles = [*(obstacle for obstacle, copy in found if obstacle and (copy.obstacle or copy.is_stale)), *others]
    for link in dict.fromkeys(obstacle for obstacle, _ in found if obstacle and obstacle not in obstacles):
        request.console.note(f"{link.path}: {link.problem}; install and update refuse to write there: {link.remedy}")
    return obstacles


def differences(request: Request, copies: Iterable[Copy]) -> Iterator[Block]:
    """Sentences on modified and foreign copies, with the commands that show and replace them."""
    readable = [copy for copy in each_once(copies) if copy.content is not None and not copy.misplaced]
    others = [copy for copy in readable if not (copy.is_ours or copy.is_stale or copy.state is State.NEWER)]
    for scope, there in grouped((copy.scope, copy) for copy in others).items():
        for is_found, same in grouped((copy.is_found, copy) for copy in there).items():
            what = "modified" if is_found else "foreign and not counted as installed"
            yield Line(f"{which_are(what, same)}.", Tone.WARNING if is_found else Tone.BAD)
        yield Command("to see what differs:", request.command(scope, ["diff", "--scope", scope]))
        if not obstacles_to(there):
            newer = any(copy.state is State.NEWER and copy.scope == scope for copy in request.survey.copies)
            label = f"to replace all that it shows{', newer copies too' * newer} (kept as SKILL.md.bak):"
            yield Command(label, request.command(scope, ["update", "--force", "--scope", scope]))


def copy_record(copy: Copy) -> Record:
    """The JSON record of a copy."""
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
    """The JSON records of where each agent finds each skill."""
    records: list[Record] = []
    for agent in agents:
        finds = [
            {"scope": scope, "skill": name, "paths": [str(copy.path) for copy in survey.finds(agent, scope, name)]}
            for scope, name in product(scopes, skill.SKILL_TEMPLATES)
        ]
        records.append({"agent": agent, "name": AGENT_CONFIG[agent].name, "finds": finds})
    return records


def advised(request: Request, hints: Iterable[Hint], label: str = "to fix:") -> list[Advice]:
    """Advice from the hints without obstacles."""
    given = (hint for hint in hints if not hint.obstacles)
    return [(hint.reason, Command(label, request.command(hint.scope, hint.words))) for hint in given]


def skills_by_place(request: Request, survey: Survey, agent: str, scope: Scope) -> dict[tuple[str, ...], list[str]]:
    """The skills grouped by the places where an agent finds them at a scope."""
    found = ((survey.finds(agent, scope, name), name) for name in skill.SKILL_TEMPLATES)
    return grouped((tuple(request.place(scope, copy.directory) for copy in copies), name) for copies, name in found)
