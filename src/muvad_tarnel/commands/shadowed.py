"""`muvad-tarnel skill shadowed`."""

from collections.abc import Iterable, Iterator, Sequence

import click

from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import (
    EFFECTS,
    advice_blocks,
    advice_records,
    agent_records,
    command_line,
    which_skills,
)
from muvad_tarnel.hints import Advice, names_of, removal_of, updating
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import Shadow
from muvad_tarnel.installed.writing import difference, obstacle_to_removing, obstacle_to_writing
from muvad_tarnel.output.report import Block, Cell, Command, Line, Record, Report, Table, Tone
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command("pair", agents="those that find a skill")
@click.option("--check", is_flag=True, help="Exit 1 if an agent finds different copies of a skill.")
def shadowed(request: Request, *, check: bool) -> Report:
    """Show skills that another copy may hide.

    An agent that finds a skill both for the user and in the project may use one copy, however old, and never the
    other. Copies with the same text do no harm; -v lists them. Nothing is written.

    \b
    Examples:
      muvad-tarnel skill shadowed
      muvad-tarnel skill shadowed --check          for scripts
    """
    survey = request.survey
    agents = request.named or tuple(survey.finders(request.scopes))
    shadows = sorted(survey.shadows(agents), key=lambda shadow: not shadow.is_different)
    different = [shadow for shadow in shadows if shadow.is_different]
    stale = {copy.scope for shadow in different for copy in (shadow.user, shadow.project) if copy.is_stale}
    hints = Advice([hint for scope in SCOPES if scope in stale for hint in updating(survey, scope)])
    shown = shadows if request.console.verbose else different
    blocks: list[Block] = [table(request, shown)] if shown else []
    if not different:
        blocks.append(Line("No skill is shadowed.", Tone.GOOD))
    if len(shown) < len(shadows):
        blocks.append(Line("Copies with the same text at both scopes do no harm; -v lists them."))
    return Report(
        [*blocks, *(advice_blocks(request, hints) or choice(request, different))],
        [record(request, shadow) for shadow in shadows],
        {"roots": {scope: str(request.roots[scope]) for scope in request.scopes}},
        agents=agent_records(survey, request.scopes, agents),
        advice=advice_records(request, hints),
        exit_code=int(check and bool(different)),
    )


def table(request: Request, shadows: Iterable[Shadow]) -> Table:
    """The places of the copies, and what agents make of them."""
    skills: dict[tuple[str, str, Cell, str], list[str]] = {}
    for shadow in shadows:
        user, project = (request.place(c.scope, c.directory) for c in (shadow.user, shadow.project))
        for effect, agents in effects_of(shadow).items():
            skills.setdefault((user, project, effect, agents), []).append(shadow.user.skill)
    rows: list[tuple[str | Cell, ...]] = [
        (user, project, which_skills(names), agents, effect)
        for (user, project, effect, agents), names in skills.items()
    ]
    return Table("Skills at both scopes", ("User copy", "Project copy", "Skills", "Agents", "Effect"), rows)


def effects_of(shadow: Shadow) -> dict[Cell, str]:
    """What the two copies mean to which agents."""
    agents: dict[Cell, list[str]] = {}
    for agent in shadow.agents:
        record = AGENT_CONFIG[agent]
        effect = Cell(EFFECTS[record.precedence], Tone.WARNING)
        effect = effect if shadow.is_different else Cell("same text, no harm", Tone.GOOD)
        agents.setdefault(effect, []).append(record.name)
    return {effect: ", ".join(names) for effect, names in agents.items()}


def choice(request: Request, shadows: Sequence[Shadow]) -> Iterator[Block]:
    """The ways out for people: no agent may be left with neither copy, so they are alternatives."""
    where = {"user": "in other repositories", "project": "in other clones of this repository"}
    changed = [copy for shadow in shadows for copy in shadow[:2] if copy.state is not State.CURRENT]
    can_replace = not any(map(obstacle_to_writing, changed))
    if changed and can_replace:
        yield Line("Either replace modified, newer and foreign copies (what `diff` shows is kept as SKILL.md.bak):")
        for scope in dict.fromkeys(copy.scope for copy in changed):
            yield Command("", command_line(request.command(scope, ("update", "--scope", scope, "--force"))))
    for scope in SCOPES if shadows else ():
        copies = dict.fromkeys(shadow.user if scope == "user" else shadow.project for shadow in shadows)
        obstacles = {copy: obstacle_to_removing(copy, force=True) for copy in copies}
        losing = request.survey.losses((copy for copy, obstacle in obstacles.items() if not obstacle), scope)
        loss = f" ({names_of(list(losing))} would lose it {where[scope]})" if losing else ""
        yield Line(f"{'Or' if can_replace or scope == 'project' else 'Either'} remove the {scope} copy{loss}:")
        yield from (Line(f"{obstacle}.", Tone.BAD) for obstacle in dict.fromkeys(obstacles.values()) if obstacle)
        yield from removals(request, [copy for copy, obstacle in obstacles.items() if not obstacle])


def removals(request: Request, copies: Iterable[Copy]) -> Iterator[Block]:
    """The commands that remove copies of one scope, and what is lost by those that take --force."""
    groups: dict[tuple[str, bool], list[Copy]] = {}
    for copy in copies:
        groups.setdefault((copy.directory, bool(obstacle_to_removing(copy, force=False))), []).append(copy)
    for (_, is_forced), group in groups.items():
        words = (*removal_of(request.survey, group), *["--force"] * is_forced)
        yield Command("", command_line(request.command(group[0].scope, words)))
        for copy in (each for each in group if is_forced and not each.link):
            yield Line(f"This deletes {copy.path} ({difference(copy)}) for good: no backup is kept.", Tone.WARNING)


def record(request: Request, shadow: Shadow) -> Record:
    """Two copies for programs."""
    precedences = {agent: AGENT_CONFIG[agent].precedence for agent in shadow.agents}
    return {
        "skill": shadow.user.skill,
        "user_path": str(shadow.user.path),
        "project_path": str(shadow.project.path),
        "different": shadow.is_different,
        "agents": [{"agent": agent, "precedence": how, "effect": EFFECTS[how]} for agent, how in precedences.items()],
        "ways_out": [way_out(request, copy) for copy in (shadow.user, shadow.project)],
    }


def way_out(request: Request, copy: Copy) -> Record:
    """The removal of a copy for programs: without a command where it takes --force, or fails."""
    obstacle = obstacle_to_removing(copy, force=False)
    is_stuck = obstacle and obstacle_to_removing(copy, force=True)
    return {
        "removes": str(copy.path),
        "command": None if obstacle else request.command(copy.scope, removal_of(request.survey, [copy])),
        "problem": obstacle and obstacle.problem,
        "loses": [] if is_stuck else list(request.survey.losses([copy], copy.scope)),
    }
