"""`muvad-tarnel skill plan`."""

from muvad_tarnel.commands.options import NOTHING_TO_LOOK_AT, skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import advice_records, agent_records, scope_title, twice_lines
from muvad_tarnel.hints import advice, joined, names_of, who_find
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.planning import Plan
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("one", agents="claude", fails_if=f"{NOTHING_TO_LOOK_AT}, or the install would fail")
def plan(request: Request) -> Report:
    """Show which directories an install writes, and why.

    What is installed already stays and counts. The choice, most important first: every agent finds each skill, as few
    as possible find one twice, each through its own directory rather than one it reads besides, and in as few
    directories as that allows. Nothing is written.

    \b
    Examples:
      muvad-tarnel skill plan --agent claude --agent cursor
      muvad-tarnel skill plan --scope project --all-agents
    """
    scope = request.scope
    chosen = Plan(request.survey, scope, request.agents, force=False)
    hints = advice(request.survey, request.scopes, request.agents)
    return Report(
        [table(request, chosen), *verdict(chosen), *twice_lines(request, chosen.after, scope, "would find")],
        [record(request, chosen, directory) for directory in chosen.directories],
        {
            "scope": scope,
            "root": str(request.root),
            "one_directory_per_agent": one_each(chosen),
            "avoided_duplicates": avoided(chosen),
        },
        agents=agent_records(chosen.after, [scope], request.agents),
        advice=advice_records(request, hints),
        errors=chosen.obstacles,
        exit_code=int(bool(chosen.obstacles)),
    )


def is_twice(chosen: Plan, agent: str) -> bool:
    """Whether an agent would find a skill several times."""
    return any(len(chosen.after.finds(agent, chosen.scope, name)) > 1 for name in skill.SKILL_TEMPLATES)


def one_each(chosen: Plan) -> list[str]:
    """What an install of one directory per agent would write."""
    return sorted({AGENT_CONFIG[agent].directories(chosen.scope)[0] for agent in chosen.agents})


def avoided(chosen: Plan) -> list[str]:
    """The agents that one directory per agent would let find a skill twice, and the plan doesn't."""
    naive = set(one_each(chosen))
    return [
        agent
        for agent in chosen.agents
        if len(naive.intersection(AGENT_CONFIG[agent].directories(chosen.scope))) > 1 and not is_twice(chosen, agent)
    ]


def table(request: Request, chosen: Plan) -> Table:
    """The plan: a row for every agent that a directory serves."""
    rows: list[tuple[str | Cell, ...]] = [
        (
            request.place(chosen.scope, directory),
            f"would write {written}" if (written := len(written_to(chosen, directory))) else "there already",
            AGENT_CONFIG[agent].name,
            Cell(why(chosen, directory, agent), Tone.WARNING if is_twice(chosen, agent) else Tone.GOOD),
        )
        for directory, agents in chosen.directories.items()
        for agent in agents
    ]
    return Table(scope_title(request, chosen.scope), ("Directory", "Files", "Serves", "Why"), rows, shared=(2, 0))


def written_to(chosen: Plan, directory: str) -> list[str]:
    """The skills that an install would write into a directory."""
    return [copy.skill for copy in chosen.writes if copy.directory == directory]


def why(chosen: Plan, directory: str, agent: str) -> str:
    """Why an agent is served by a directory."""
    if is_twice(chosen, agent):
        others = [other for other, readers in chosen.directories.items() if agent in readers and other != directory]
        return f"twice: reads {joined(others)} as well"
    native = AGENT_CONFIG[agent].directories(chosen.scope)[0]
    return "its own directory" if directory == native else f"shared, in place of {native}"


def verdict(chosen: Plan) -> list[Block]:
    """The plan in a sentence or two."""
    number = len(chosen.directories)
    text = f"{number} {'directory serves' if number == 1 else 'directories serve'} {names_of(chosen.agents)}"
    is_good = not any(is_twice(chosen, agent) for agent in chosen.agents)
    once = f", and {'each' if len(chosen.agents) > 1 else 'it'} finds every skill once" if is_good else ""
    blocks: list[Block] = [Line(f"{text}{once}.", Tone.GOOD if is_good else Tone.WARNING)]
    if spared := avoided(chosen):
        blocks.append(Line(f"With a directory for each agent, {who_find(spared)} every skill twice.", Tone.GOOD))
    return blocks


def record(request: Request, chosen: Plan, directory: str) -> Record:
    """A directory of the plan for programs."""
    return {
        "scope": chosen.scope,
        "directory": directory,
        "path": str(request.root / directory),
        "writes": written_to(chosen, directory),
        "serves": [
            {
                "agent": agent,
                "native": AGENT_CONFIG[agent].directories(chosen.scope)[0] == directory,
                "why": why(chosen, directory, agent),
            }
            for agent in chosen.directories[directory]
        ],
    }
