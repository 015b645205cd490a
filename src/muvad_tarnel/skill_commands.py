"""The commands `muvad-tarnel skill install|status|shadowed`."""

from collections.abc import Callable
from functools import wraps
from pathlib import Path
from typing import Literal

import click
from click.core import ParameterSource

from muvad_tarnel.console import print_line
from muvad_tarnel.project_root import find_project_root
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG
from muvad_tarnel.undecodable_copies import naming_undecodable_copy

type Command = Callable[..., None]


def agent_options(command: Command) -> Command:
    """Add `--agent` and `--all-agents`, which reach `command` as one parameter `agents`, a tuple of agent keys."""

    @click.option(
        "--agent",
        "agent_keys",
        multiple=True,
        type=click.Choice(list(AGENT_CONFIG)),
        metavar="KEY",
        help=f"An agent, repeatable: {', '.join(AGENT_CONFIG)}.  [default: {', '.join(skill.DEFAULT_AGENTS)}]",
    )
    @click.option("--all-agents", is_flag=True, help="Every agent that can take skills.")
    @wraps(command)
    def command_for_agents(*, agent_keys: tuple[str, ...], all_agents: bool, **options: object) -> None:
        if all_agents and agent_keys:
            raise click.UsageError("--agent and --all-agents exclude each other.")
        agents = tuple(skill.skill_capable_agents()) if all_agents else agent_keys or skill.DEFAULT_AGENTS
        command(agents=agents, **options)

    return command_for_agents


project_option = click.option(
    "--project",
    type=click.Path(exists=True, file_okay=False, path_type=Path),
    help="The project's root.  [default: the nearest folder upward that holds .git, else the current one]",
)


def outcome(result: skill.SkillResult) -> str:
    """What happened, or was found, at which path, and the agents that read it there."""
    return f"{result.message}  {result.path}  ({', '.join(AGENT_CONFIG[key].name for key in result.agents)})"


@click.group("skill")
def skill_group() -> None:
    """Install the agent skills and see what is installed."""


@skill_group.command()
@click.option(
    "--scope",
    type=click.Choice(["user", "project"]),
    default="user",
    show_default=True,
    help="Under the home directory or in the project.",
)
@agent_options
@project_option
@click.option("--force", is_flag=True, help="Rewrite copies of the same or a newer version as well.")
@click.option("--dry-run", is_flag=True, help="Say what would be done and write nothing.")
def install(
    *, scope: Literal["user", "project"], agents: tuple[str, ...], project: Path | None, force: bool, dry_run: bool
) -> None:
    """Install the skills where the agents look.

    The directories are chosen so that each agent finds every skill, through one directory where that can be had.

    Running it again is safe: a copy of the same or a newer version is left alone, an older one is updated. A copy
    without a version stamp is overwritten.

    \b
    Exit codes:
      0  every skill is in place, or would be (--dry-run)
      1  at least one skill could not be installed
      2  the command line is wrong
    """
    scope_was_given = click.get_current_context().get_parameter_source("scope") is ParameterSource.COMMANDLINE
    if project and scope == "user" and not scope_was_given:
        raise click.UsageError("--project needs --scope project.")  # rather than write where nobody meant it
    root = None if scope == "user" else project or find_project_root()
    with naming_undecodable_copy(agents, root):
        results = skill.install_skills(scope, root, agents=agents, force=force, dry_run=dry_run)
    for result in results:
        print_line(outcome(result))
    if not all(result.success for result in results):
        click.get_current_context().exit(1)


@skill_group.command()
@agent_options
@project_option
def status(*, agents: tuple[str, ...], project: Path | None) -> None:
    """Show the installed versions.

    For the user and in the project: every directory that an install for these agents would write, and every other
    directory they read that holds a copy.

    \b
    Exit codes:
      0  the report is complete, whatever is installed
      1  something could not be read
      2  the command line is wrong
    """
    root = project or find_project_root()
    with naming_undecodable_copy(agents, root):
        results = skill.skill_status(root, agents=agents)
    for result in results:
        print_line(f"{result.scope:<7}  {outcome(result)}")


@skill_group.command()
@agent_options
@project_option
def shadowed(*, agents: tuple[str, ...], project: Path | None) -> None:
    """Name the skills that a second copy may hide.

    A skill is named when one of the agents finds it for the user as well as in the project: such an agent may load
    the user's copy, however old, and never the project's.

    \b
    Exit codes:
      0  the report is complete, whether or not a skill is shadowed
      1  something could not be read
      2  the command line is wrong
    """
    names = skill.shadowed_skills(project or find_project_root(), agents=agents)
    for name in names:
        print_line(f"{name}  installed for the user and in the project: the user's copy may hide the project's")
    if not names:
        print_line("no skill is shadowed")
