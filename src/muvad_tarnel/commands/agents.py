"""`muvad-tarnel skill agents`."""

import os

import click

from muvad_tarnel.commands.options import output_options, speaking
from muvad_tarnel.commands.shadowed import EFFECTS
from muvad_tarnel.failure import Failure
from muvad_tarnel.installed.readers import agents_in_use
from muvad_tarnel.installed.scopes import home_directory
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Cell, Line, Report, Table, Tone
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, CHECKED_ON

LAST = "Reads skills from (own first)"


@click.command("agents")
@output_options
def agents(**options: object) -> None:
    """List the agents and their skills directories.

    An agent's own directory stands first. "in use" is what --detect goes by: the agent's directory under the home
    directory holds more than skills.

    \b
    Exit codes:
      0  the list is complete
      2  the command line is wrong
    """
    speaking(listing, "agents")(**options)


def listing(console: Console) -> Report:
    """The agent table, and who is in use here."""
    try:
        in_use = agents_in_use(home_directory(), os.environ)
    except Failure as failure:
        console.note(str(failure))
        in_use = ()
    keys = skill.skill_capable_agents()
    rows: list[tuple[str | Cell, ...]] = []
    for key in keys:
        record = AGENT_CONFIG[key]
        used = Cell("in use", Tone.GOOD) if key in in_use else ""
        if record.skills_user_roots == record.skills_project_roots:
            rows.append((key, record.name, used, "both", ", ".join(record.skills_user_roots)))
        else:
            rows.append((key, record.name, used, "user", ", ".join(record.skills_user_roots)))
            rows.append((key, record.name, used, "project", ", ".join(record.skills_project_roots)))
    return Report(
        [
            Table("", ("Key", "Agent", "Here", "Scope", LAST), rows, (LAST,), shared=(3, 0)),
            Line(f"As of {CHECKED_ON}."),
        ],
        [
            {
                "key": key,
                "name": AGENT_CONFIG[key].name,
                "in_use": key in in_use,
                "user_directories": list(AGENT_CONFIG[key].skills_user_roots),
                "project_directories": list(AGENT_CONFIG[key].skills_project_roots),
                "precedence": AGENT_CONFIG[key].precedence,
                "at_both_scopes": EFFECTS[AGENT_CONFIG[key].precedence],
            }
            for key in keys
        ],
        {"as_of": CHECKED_ON},
    )
