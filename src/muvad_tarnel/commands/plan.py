"""`muvad-tarnel skill plan`."""

import click

from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import (
    agents_in_words,
    joined,
    outdated_lines,
    scope_title,
    twice_lines,
    twice_records,
)
from muvad_tarnel.installed.plans import FULL_SEARCH_LIMIT, Plan, Role, plan_for
from muvad_tarnel.installed.sightings import as_if_installed, copies_read_by, outdated_outside, seen_twice
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.setup.config import AGENT_CONFIG


@click.command("plan")
@asked_for("one")
@output_options
def plan(request: Request) -> Report:
    """Show which directories an install writes, and why.

    The choice, most important first: every agent finds each skill, as few as possible find one twice, each through
    its own directory rather than one it reads besides, and in as few directories as that allows. Nothing is
    written.

    \b
    Examples:
      muvad-tarnel skill plan --agent claude --agent cursor
      muvad-tarnel skill plan --scope project --all-agents

    \b
    Exit codes:
      0  the plan is shown
      1  the scope's root could not be found, or no agent was detected
      2  the command line is wrong
    """
    scope = request.scope
    request.note_moved()
    chosen = plan_for(request.agents, scope)
    copies = copies_read_by(AGENT_CONFIG, scope, request.roots)
    twice = seen_twice(as_if_installed(copies, chosen.directories), request.agents, scope)
    return Report(
        [
            table(request, chosen),
            *verdict(chosen),
            *outdated_lines(request, scope, outdated_outside(copies, request.agents, scope)),
            *twice_lines(request, twice, ("would see", "would see")),
        ],
        [record(request, chosen, directory) for directory in chosen.directories],
        {
            "scope": scope,
            "root": str(request.roots[scope]),
            "candidates": chosen.candidates,
            "quick_choice": chosen.is_quick_choice,
            "one_directory_per_agent": list(chosen.one_each),
            "avoided_duplicates": list(avoided(chosen)),
            "seen_twice": twice_records(request, twice),
        },
    )


def table(request: Request, chosen: Plan) -> Table:
    """The plan: a row for every agent that a directory serves."""
    return Table(
        scope_title(request, chosen.scope),
        ("Directory", "Serves", "Why"),
        [
            (request.place(chosen.scope, role.directory), AGENT_CONFIG[role.agent].name, reason(role))
            for role in chosen.roles
        ],
        wrapping=("Why",),
        shared=(1, 0),
    )


def reason(role: Role) -> Cell:
    """Why an agent is served by a directory."""
    others = [directory for directory in role.planned if directory != role.directory]
    if others:
        return Cell(f"twice: reads {joined(others)} as well", Tone.WARNING)
    return Cell("its own directory" if role.is_native else f"shared, in place of {role.native}", Tone.GOOD)


def avoided(chosen: Plan) -> tuple[str, ...]:
    """The agents that one directory per agent would have let see a skill twice, and the plan doesn't."""
    return tuple(agent for agent in chosen.avoided if agent not in chosen.twice)


def verdict(chosen: Plan) -> list[Block]:
    """The plan in a sentence or two."""
    count = len(chosen.directories)
    what = f"{count} {'directory serves' if count == 1 else 'directories serve'} {agents_in_words(chosen.agents)}"
    once = "" if chosen.twice else f"; by this plan {'each' if len(chosen.agents) > 1 else 'it'} finds every skill once"
    blocks: list[Block] = [Line(f"{what}{once}.", Tone.WARNING if chosen.twice else Tone.GOOD)]
    if spared := avoided(chosen):
        places = joined(chosen.one_each)
        names = joined(AGENT_CONFIG[agent].name for agent in spared)
        blocks.append(
            Line(f"Avoided: a directory for each ({places}) would show {names} every skill twice.", Tone.GOOD)
        )
    if chosen.is_quick_choice:
        blocks.append(
            Line(
                f"Quick choice: {chosen.candidates} candidate directories are too many (more than {FULL_SEARCH_LIMIT}) "
                "for every choice to be tried, so each agent not yet served got its own.",
                Tone.WARNING,
            )
        )
    return blocks


def record(request: Request, chosen: Plan, directory: str) -> Record:
    """A planned directory for programs."""
    return {
        "directory": directory,
        "path": str(request.roots[chosen.scope] / directory),
        "serves": [
            {
                "agent": role.agent,
                "native": role.is_native,
                "native_directory": role.native,
                "reads_planned": list(role.planned),
                "why": reason(role).text,
            }
            for role in chosen.roles
            if role.directory == directory
        ],
    }
