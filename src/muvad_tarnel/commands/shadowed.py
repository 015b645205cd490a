"""`muvad-tarnel skill shadowed`."""

from collections.abc import Sequence
from typing import NamedTuple

import click

from muvad_tarnel.commands.options import NOTHING_TO_LOOK_AT, skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import EFFECTS, agent_records, command_line
from muvad_tarnel.hints import names_of, removal_of, skills_of
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.shadowing import Shadow, shadows_among
from muvad_tarnel.installed.writing import obstacle_to_removing
from muvad_tarnel.output.report import Block, Cell, Command, Line, Record, Report, Table, Tone
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup.config import AGENT_CONFIG


@skill_command(
    "pair",
    agents="those that find a skill",
    fails_if=f"{NOTHING_TO_LOOK_AT}; with --check: an agent finds different copies of a skill",
)
@click.option("--check", is_flag=True, help="Exit 1 if an agent finds different copies of a skill.")
def shadowed(request: Request, *, check: bool) -> Report:
    """Show skills that another copy may hide.

    They are those that an agent finds for the user as well as in the project. It may use one copy, however old, and
    never the other. Copies with the same text do no harm and are only mentioned.

    \b
    Examples:
      muvad-tarnel skill shadowed
      muvad-tarnel skill shadowed --check          for scripts
    """
    survey = request.survey
    agents = request.named or tuple(survey.finders(request.scopes))
    shadows = shadows_among(survey, agents)
    different = [shadow for shadow in shadows if shadow.is_different]
    blocks: list[Block] = [table(request, different)] if different else []
    if equal := {shadow.user.skill: None for shadow in shadows if not shadow.is_different}:
        blocks.append(Line(f"At both scopes with the same text, which does no harm: {skills_of(equal)}."))
    if different:
        ways = [way for scope in SCOPES for way in ways_out(request, [shadow.copy(scope) for shadow in different])]
        blocks += [block for way in ways for block in way.blocks()]
    else:
        blocks.append(Line("No skill is shadowed.", Tone.GOOD))
    return Report(
        blocks,
        [record(request, shadow) for shadow in shadows],
        {"roots": {scope: str(request.roots[scope]) for scope in request.scopes}},
        agents=agent_records(survey, request.scopes, agents),
        exit_code=int(check and bool(different)),
    )


def table(request: Request, shadows: Sequence[Shadow]) -> Table:
    """The places of the copies, and what each agent makes of them."""
    skills: dict[tuple[str, str, str, str], list[str]] = {}
    for shadow in shadows:
        for agent in shadow.agents:
            user, project = (request.place(c.scope, c.directory) for c in (shadow.user, shadow.project))
            key = (user, project, AGENT_CONFIG[agent].name, EFFECTS[AGENT_CONFIG[agent].precedence])
            skills.setdefault(key, []).append(shadow.user.skill)
    rows: list[tuple[str | Cell, ...]] = [
        (user, project, skills_of(names), agent, Cell(effect, Tone.WARNING))
        for (user, project, agent, effect), names in sorted(skills.items(), key=lambda item: item[0][:2])
    ]
    columns = ("User copy", "Project copy", "Skills", "Agent", "Effect")
    return Table("Different copies at both scopes", columns, rows, shared=(3, 0))


class WayOut(NamedTuple):
    """A removal that ends a shadow, or the reason why there is none, and the agents that would lose something."""

    copy: Copy
    command: list[str] | None
    reason: str
    losing: list[str]

    def blocks(self) -> list[Block]:
        """The removal for people."""
        other = "project" if self.copy.scope == "user" else "user"
        label = f"to keep the {other} copy:"
        if self.command is None:
            return [Line(f"{self.copy.path} stays: {self.reason}.")]
        who = names_of(self.losing) if self.losing else "nobody"
        where = "in other repositories" if self.copy.scope == "user" else "for everyone who clones this repository"
        return [Command(label, command_line(self.command)), Line(f"      (lost {where}: {who})")]


def ways_out(request: Request, copies: Sequence[Copy]) -> list[WayOut]:
    """The removals of copies: one for each directory, or the reason for keeping one."""
    ways = []
    free: dict[str, list[Copy]] = {}
    for copy in dict.fromkeys(copies):
        if obstacle := obstacle_to_removing(copy, force=False):
            ways.append(WayOut(copy, None, obstacle.problem, []))
        else:
            free.setdefault(copy.directory, []).append(copy)
    for group in free.values():
        scope = group[0].scope
        words = request.command(scope, removal_of(request.survey, group))
        ways.append(WayOut(group[0], words, "", list(request.survey.losses(group, scope))))
    return ways


def record(request: Request, shadow: Shadow) -> Record:
    """Two copies for programs."""
    ways = [ways_out(request, [shadow.copy(scope)])[0] for scope in SCOPES]
    return {
        "skill": shadow.user.skill,
        "user_path": str(shadow.user.path),
        "project_path": str(shadow.project.path),
        "different": shadow.is_different,
        "agents": [
            {
                "agent": agent,
                "precedence": (precedence := AGENT_CONFIG[agent].precedence),
                "effect": EFFECTS[precedence],
            }
            for agent in shadow.agents
        ],
        "ways_out": [
            {"removes": str(way.copy.path), "command": way.command, "problem": way.reason or None, "loses": way.losing}
            for way in ways
        ],
    }
