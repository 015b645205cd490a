"""`muvad-tarnel skill plan`."""

from collections.abc import Iterable

from muvad_tarnel.commands.changes import write_all
from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import agent_records
from muvad_tarnel.hints import doubled, joined, who_find
from muvad_tarnel.installed.copies import State
from muvad_tarnel.installed.survey import grouped
from muvad_tarnel.output.report import Block, Line, Record, Report, Table, Tone
from muvad_tarnel.planning import Plan, obstacles_to
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("one", agents="claude")
def plan(request: Request) -> Report:
    """Show which directories an install writes, and why.

    What is installed already stays and counts. The choice, most important first: every agent finds each skill, as few
    as possible find one twice, each through its preferred directory rather than another, and in as few directories
    as that allows. Nothing is written; where the install would fail, this does too.
    """
    scope = request.scope
    chosen = Plan(request.survey, scope, request.agents)
    request.dry_run = True
    write_all(request, chosen.writes)  # prints a note for each text that would be replaced
    rows, records = [], []
    for place, agents in chosen.directories.items():
        reasons = {agent: why(chosen, place, agent) for agent in agents}
        files_there = {copy.file for copy in request.survey.at(scope, place)}
        writes = [copy.skill for copy in chosen.writes if copy.file in files_there]
        files = f"{len(writes)} to write" if writes else "installed"
        served = grouped((reason, AGENT_CONFIG[agent].name) for agent, reason in reasons.items())
        rows += [(request.place(scope, place), files, ", ".join(names), reason) for reason, names in served.items()]
        record: Record = {"scope": scope, "directory": place, "path": str(request.roots[scope] / place)}
        record["writes"] = writes
        record["serves"] = [{"agent": agent, "why": reason.text} for agent, reason in reasons.items()]
        records.append(record)
    return Report(
        [Table(request.title(scope), ("Directory", "Files", "Serves", "Why"), rows), *verdict(chosen, request.in_use)],
        records,
        {"scope": scope, "root": str(request.roots[scope])},
        agents=agent_records(chosen.after, [scope], request.agents),
        errors=chosen.obstacles,
        exit_code=int(bool(chosen.obstacles)),
    )


def is_twice(chosen: Plan, agent: str) -> bool:
    """Whether an agent would find a skill several times."""
    return any(len(chosen.after.finds(agent, chosen.scope, name)) > 1 for name in skill.SKILL_TEMPLATES)


def why(chosen: Plan, directory: str, agent: str) -> Line:
    """The reason why a directory serves an agent."""
    copies = chosen.survey.at(chosen.scope, directory)
    preferred = chosen.survey.at(chosen.scope, AGENT_CONFIG[agent].directories(chosen.scope)[0])
    if is_twice(chosen, agent):
        others = [other for other, served in chosen.directories.items() if agent in served and other != directory]
        return Line(f"also in {joined(chosen.survey.at(chosen.scope, o)[0].place for o in others)}", Tone.WARNING)
    if copies[0].file == preferred[0].file:
        return Line("its preferred directory")
    if any(copy.is_found for copy in copies):
        return Line("copies are there already")
    if len(chosen.directories[directory]) > 1:
        return Line("shared, instead of its preferred one")
    is_taken = any(copy.state is State.FOREIGN or obstacles_to([copy]) for copy in preferred)
    problem = "which holds another text or cannot be written" if is_taken else "where others would find skills twice"
    return Line(f"instead of its preferred one, {problem}")


def verdict(chosen: Plan, others: Iterable[str]) -> list[Block]:
    """The plan in a sentence, followed by those on duplicates, also for other agents."""
    if chosen.obstacles:
        return [Line("The install would fail.", Tone.BAD)]
    is_good = not any(is_twice(chosen, agent) for agent in chosen.agents)
    who = who_find(chosen.agents, "would" if chosen.writes else "")
    text = f"{who} every skill {'once' if is_good else 'at least once'} at {chosen.scope} scope."
    when = "After the install, " if chosen.writes else ""
    doubles = doubled(chosen.after, [chosen.scope], (*chosen.agents, *others), when)
    return [Line(text, Tone.GOOD if is_good else Tone.WARNING), *map(Line, doubles)]
