"""`muvad-tarnel skill agents`."""

from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.wording import EFFECTS
from muvad_tarnel.failure import Failure
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Cell, Line, Report, Table, Tone
from muvad_tarnel.roots import agents_in_use, home_directory
from muvad_tarnel.setup.config import AGENT_CONFIG, CHECKED_ON


@skill_command()
def agents(console: Console) -> Report:
    """List the agents and their skills directories.

    An agent's own directory comes first. "detected" is what --detect goes by: the agent's directory under the home
    directory holds more than skills. Environment variables such as CLAUDE_CONFIG_DIR are followed.

    \b
    Examples:
      muvad-tarnel skill agents --json
    """
    try:
        in_use = agents_in_use(home_directory())
    except Failure as failure:
        console.note(str(failure.obstacle))
        in_use = ()
    rows: list[tuple[str | Cell, ...]] = []
    for key, record in AGENT_CONFIG.items():
        name = Cell(record.name, Tone.GOOD) if key in in_use else record.name
        user, project = ", ".join(record.skills_user_roots), ", ".join(record.skills_project_roots)
        detected = "detected" if key in in_use else ""
        if user == project:
            rows.append((key, name, detected, "both", user))
        else:
            rows += [(key, name, detected, "user", user), (key, name, detected, "project", project)]
    columns = ("Key", "Agent", "Detected", "Scope", "Reads skills from (own first)")
    return Report(
        [Table("", columns, rows, shared=(3, 0)), Line(f"As of {CHECKED_ON}.")],
        [
            {
                "key": key,
                "name": record.name,
                "detected": key in in_use,
                "user_directories": list(record.skills_user_roots),
                "project_directories": list(record.skills_project_roots),
                "precedence": record.precedence,
                "effect": EFFECTS[record.precedence],
            }
            for key, record in AGENT_CONFIG.items()
        ],
        {"as_of": CHECKED_ON},
    )
