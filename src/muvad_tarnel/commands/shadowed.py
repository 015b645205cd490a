"""`muvad-tarnel skill shadowed`."""

from collections.abc import Container, Iterable, Iterator, Sequence

import click

from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import EFFECTS, advised, agent_records, which_skills
from muvad_tarnel.hints import joined, names_of, removal_of, updating
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import Shadow, grouped
from muvad_tarnel.installed.writing import obstacle_to_removing, obstacle_to_writing, reason_to_keep
from muvad_tarnel.output.report import Block, Command, Line, Record, Report, Table, Tone
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("pair", agents="those that find a skill")
@click.option("--check", is_flag=True, help="Exit 1 if an agent reads different texts of a skill.")
def shadowed(request: Request, *, check: bool) -> Report:
    """Show skills that another copy may hide.

    An agent that finds a skill both for the user and in the project may use one copy, however old, and never the
    other. A foreign text hides a copy as well. Copies with the same text do no harm; -v lists them. Nothing is written.
    """
    survey = request.survey
    agents = request.named or tuple(survey.finders(request.scopes))
    shadows = sorted(survey.shadows(agents), key=lambda shadow: not shadow.is_different)
    different = [shadow for shadow in shadows if shadow.is_different]
    pairs = [pair for user, project, _ in shadows for pair in ((user, project), (project, user))]
    kept = {copy for copy, other in pairs if not other.is_found}  # without it, an agent would find only a foreign text
    stale = {copy.scope for shadow in different for copy in shadow[:2] if copy.is_stale}
    advice = advised(request, [hint for scope in SCOPES if scope in stale for hint in updating(survey, scope)])
    shown = shadows if request.console.verbose else different
    blocks: list[Block] = [table(request, shown)] if shown else []
    if not different:
        blocks.append(Line("No skill is shadowed.", Tone.GOOD))
    if len(shown) < len(shadows):
        blocks.append(Line("Copies with the same text at both scopes do no harm; -v lists them."))
    return Report(
        [*blocks, *(choice(request, different, kept) if different and not advice else ())],
        [record(request, shadow, kept) for shadow in shadows],
        {"roots": {scope: str(request.roots[scope]) for scope in request.scopes}},
        agents=agent_records(survey, request.scopes, agents),
        advice=advice,
        exit_code=int(check and bool(different)),
    )


def table(request: Request, shadows: Iterable[Shadow]) -> Table:
    """A table of the copies and their effect on agents."""
    cells = []
    for shadow in shadows:
        user, project = (f"{request.place(copy.scope, copy.directory)} ({copy.state.value})" for copy in shadow[:2])
        records = [AGENT_CONFIG[agent] for agent in shadow.agents]
        effects = grouped((Line(EFFECTS[record.precedence], Tone.WARNING), record.name) for record in records)
        if not shadow.is_different:
            effects = {Line("same text, no harm", Tone.GOOD): [record.name for record in records]}
        cells += [((user, project, ", ".join(names), effect), shadow.user.skill) for effect, names in effects.items()]
    rows = [
        (user, project, which_skills(names), agents, effect)
        for (user, project, agents, effect), names in grouped(cells).items()
    ]
    return Table("Skills at both scopes", ("User copy", "Project copy", "Skills", "Agents", "Effect"), rows)


def choice(request: Request, shadows: Sequence[Shadow], kept: Container[Copy]) -> Iterator[Block]:
    """The alternative fixes, for people: applying more than one could leave an agent without any copy."""
    copies = list(dict.fromkeys(copy for shadow in shadows for copy in shadow[:2]))
    changed = [copy for copy in copies if copy.state is not State.CURRENT]
    yield Line("Do one of these:")
    if newer := dict.fromkeys(copy.place for copy in changed if copy.state is State.NEWER):
        is_more = any(copy.state in (State.MODIFIED, State.FOREIGN) for copy in changed)
        command = "update --force" if is_more else "update"
        yield Line(f"Upgrade this package, then run `{command}`: what is in {joined(newer)} is newer.")
    elif changed and not any(map(obstacle_to_writing, changed)):
        yield Line("Replace modified and foreign copies (edited and foreign texts are kept as SKILL.md.bak):")
        for scope in dict.fromkeys(copy.scope for copy in changed):
            yield Command("", request.command(scope, ("update", "--scope", scope, "--force")))
    where = {"user": "in other repositories", "project": "in other clones of this repository"}
    for scope, there in grouped((copy.scope, copy) for copy in copies if copy not in kept).items():
        losing, here = (list(request.survey.losses(there, scopes)) for scopes in ([scope], SCOPES))
        also = f", {names_of(here)} also here" if here else ""
        loss = f" ({names_of(losing)} would lose it {where[scope]}{also})" if losing else ""
        yield Line(f"Remove the {scope} copy{loss}:")
        obstacles = {copy: obstacle_to_removing(copy, force=True) for copy in there}
        yield from (Line(f"{obstacle}.", Tone.BAD) for obstacle in dict.fromkeys(obstacles.values()) if obstacle)
        free = [copy for copy in there if not obstacles[copy]]
        by_command = grouped(((copy.directory, bool(reason_to_keep(copy))), copy) for copy in free)
        for (_, is_forced), group in by_command.items():
            for copy in group if is_forced else ():
                what = f"only the link {copy.link}" if copy.link else copy.path
                yield Line(f"This deletes {what} ({reason_to_keep(copy)}): no backup is kept.", Tone.WARNING)
            yield Command("", request.command(scope, (*removal_of(group), *["--force"] * is_forced)))


def record(request: Request, shadow: Shadow, kept: Container[Copy]) -> Record:
    """The JSON record of two copies."""
    precedences = {agent: AGENT_CONFIG[agent].precedence for agent in shadow.agents}
    return {
        "skill": shadow.user.skill,
        "user_path": str(shadow.user.path),
        "project_path": str(shadow.project.path),
        "user_state": shadow.user.state.value,
        "project_state": shadow.project.state.value,
        "different": shadow.is_different,
        "agents": [{"agent": agent, "precedence": how, "effect": EFFECTS[how]} for agent, how in precedences.items()],
        "ways_out": [way_out(request, copy) for copy in shadow[:2] if copy not in kept],
    }


def way_out(request: Request, copy: Copy) -> Record:
    """The JSON record of a copy's removal, without a command if it requires --force or would fail."""
    obstacle = obstacle_to_removing(copy, force=False)
    return {
        "removes": str(copy.path),
        "command": None if obstacle else request.command(copy.scope, removal_of([copy])),
        "problem": obstacle and obstacle.problem,
        "loses": list(request.survey.losses([copy], [copy.scope])),
    }
