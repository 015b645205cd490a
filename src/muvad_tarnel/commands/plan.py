"""`muvad-tarnel skill plan`."""

from pathlib import Path

from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import agent_records
from muvad_tarnel.hints import doubled, joined, names_of, who_find
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.planning import Plan, obstacles_to
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("one", agents="claude")
def plan(request: Request) -> Report:
    """Show which directories an install writes, and why.

    What is installed already stays and counts. The choice, most important first: every agent finds each skill, as few
    as possible find one twice, each through its own directory rather than one it reads besides, and in as few
    directories as that allows. Nothing is written; where the install would fail, this does too.

    \b
    Examples:
      muvad-tarnel skill plan --agent claude --agent cursor
      muvad-tarnel skill plan --scope project --all-agents
    """
    scope = request.scope
    chosen = Plan(request.survey, scope, request.agents, force=False)
    return Report(
        [table(request, chosen), *verdict(chosen)],
        [record(request, chosen, directory) for directory in chosen.directories],
        {"scope": scope, "root": str(request.root), "avoided_duplicates": avoided(chosen)},
        agents=agent_records(chosen.after, [scope], request.agents),
        errors=chosen.obstacles,
        exit_code=int(bool(chosen.obstacles)),
    )


def is_twice(chosen: Plan, agent: str) -> bool:
    """Whether an agent would find a skill several times."""
    return any(len(chosen.after.finds(agent, chosen.scope, name)) > 1 for name in skill.SKILL_TEMPLATES)


def avoided(chosen: Plan) -> list[str]:
    """The agents that would find skills twice if each agent's own directory were used, and don't by the plan."""
    directories = {agent: AGENT_CONFIG[agent].directories(chosen.scope) for agent in chosen.agents}
    own = {row[0] for row in directories.values()}
    twice = (agent for agent, row in directories.items() if len(own.intersection(row)) > 1)
    return [agent for agent in twice if not is_twice(chosen, agent)]


def table(request: Request, chosen: Plan) -> Table:
    """The plan: a row for the agents that a directory serves for the same reason."""
    served: dict[tuple[str, str, Tone], list[str]] = {}
    for directory, agents in chosen.directories.items():
        for agent in agents:
            tone = Tone.WARNING if is_twice(chosen, agent) else Tone.NEUTRAL
            served.setdefault((directory, why(chosen, directory, agent), tone), []).append(AGENT_CONFIG[agent].name)
    rows: list[tuple[str | Cell, ...]] = [
        (
            request.place(chosen.scope, directory),
            files_in_words(request, chosen, directory),
            ", ".join(names),
            Cell(reason, tone),
        )
        for (directory, reason, tone), names in served.items()
    ]
    return Table(f"{chosen.scope.capitalize()} scope: {request.root}", ("Directory", "Files", "Serves", "Why"), rows)


def files_in_words(request: Request, chosen: Plan, directory: str) -> str:
    """What an install writes into a directory, perhaps under the name of one that a link makes the same."""
    if written := written_to(chosen, directory):
        return f"{len(written)} to write"
    files = files_of(chosen, directory)
    linked = next((copy.directory for copy in chosen.writes if files_of(chosen, copy.directory) == files), None)
    return f"same directory as {request.place(chosen.scope, linked)}" if linked else "installed"


def files_of(chosen: Plan, directory: str) -> frozenset[Path]:
    """The files of a directory, links resolved: those of linked directories are the same."""
    return frozenset(copy.file for copy in chosen.after.at(chosen.scope, directory))


def written_to(chosen: Plan, directory: str) -> list[str]:
    """The skills that an install would write into a directory."""
    return [copy.skill for copy in chosen.writes if copy.directory == directory]


def why(chosen: Plan, directory: str, agent: str) -> str:
    """Why an agent is served by a directory."""
    if is_twice(chosen, agent):
        others = [other for other, readers in chosen.directories.items() if agent in readers and other != directory]
        return f"also in {joined(chosen.survey.at(chosen.scope, other)[0].place for other in others)}"
    own = AGENT_CONFIG[agent].directories(chosen.scope)[0]
    if directory == own:
        return "its own directory"
    if any(copy.is_found for copy in chosen.survey.at(chosen.scope, directory)):
        return "shared: copies are there already"
    if len(chosen.directories[directory]) > 1:
        return "shared, instead of its own"
    is_taken = any(copy.exists or obstacles_to([copy]) for copy in chosen.survey.at(chosen.scope, own))
    problem = "which holds another text or cannot be written" if is_taken else "where others would find skills twice"
    return f"instead of its own, {problem}"


def verdict(chosen: Plan) -> list[Block]:
    """The plan in a sentence or two."""
    if chosen.obstacles:
        unserved = chosen.unserved
        loss = f", and {names_of(unserved)} would not find every skill" if unserved else ""
        return [Line(f"The install would fail{loss}.", Tone.BAD)]
    number = len({files_of(chosen, directory) for directory in chosen.directories})
    where = "1 directory" if number == 1 else f"{number} directories"
    is_good = not any(is_twice(chosen, agent) for agent in chosen.agents)
    text = (
        f"{who_find(chosen.agents)} every skill{' once' if is_good else ''} at {chosen.scope} scope, through {where}."
    )
    lines: list[Block] = [Line(text, Tone.GOOD if is_good else Tone.WARNING)]
    when = "After the install, " if chosen.writes else ""
    lines += map(Line, doubled(chosen.after, [chosen.scope], chosen.agents, when))
    if spared := avoided(chosen):
        lines.append(Line(f"If each agent used its own directory, {who_find(spared, 'would')} every skill twice."))
    return lines


def record(request: Request, chosen: Plan, directory: str) -> Record:
    """A directory of the plan for programs."""
    return {
        "scope": chosen.scope,
        "directory": directory,
        "path": str(request.root / directory),
        "writes": written_to(chosen, directory),
        "serves": [{"agent": a, "why": why(chosen, directory, a)} for a in chosen.directories[directory]],
    }
