"""`muvad-tarnel skill agents`."""

from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import EFFECTS
from muvad_tarnel.output.report import Line, Report, Table
from muvad_tarnel.setup.config import AGENT_CONFIG, CHECKED_ON


@skill_command("none")
def agents(request: Request) -> Report:
    """List the agents and their skills directories.

    An agent is detected if its directory under the home directory holds more than skills: --detect is about these.
    Environment variables such as CLAUDE_CONFIG_DIR are followed.
    """
    rows: list[tuple[str, ...]] = []
    for key, record in AGENT_CONFIG.items():
        name = f"{record.name} (detected)" if key in request.in_use else record.name
        user, project = ", ".join(record.skills_user_roots), ", ".join(record.skills_project_roots)
        scopes = [("both", user)] if user == project else [("user", user), ("project", project)]
        rows += [(key, name, scope, directories) for scope, directories in scopes]
    columns = ("Key", "Agent", "Scope", "Skills directories")
    return Report(
        [Table("", columns, rows), Line(f"An agent's preferred directory comes first. As of {CHECKED_ON}.")],
        [
            {
                "key": key,
                "name": record.name,
                "detected": key in request.in_use,
                "user_directories": list(record.skills_user_roots),
                "project_directories": list(record.skills_project_roots),
                "precedence": record.precedence,
                "effect": EFFECTS[record.precedence],
            }
            for key, record in AGENT_CONFIG.items()
        ],
        {"as_of": CHECKED_ON},
    )
