"""The options that commands share. They end in a `Request`."""

from collections.abc import Callable
from functools import wraps
from pathlib import Path
from typing import Literal

import click
from click.core import ParameterSource

from muvad_tarnel.commands.request import Request, Wanted
from muvad_tarnel.commands.running import speaking
from muvad_tarnel.commands.spelling import Choice
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Report
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

type Decorator = Callable[[Callable[..., object]], Callable[..., object]]

# The scopes that a command is about: one (for the user, if nothing is said), both unless one is named, always both.
type Scoping = Literal["one", "both", "pair"]

output_options = (
    click.option("--json", is_flag=True, help="Print one JSON object on standard output, notes on standard error."),
    click.option("-q", "--quiet", is_flag=True, help="Only print errors, and where replaced texts are kept."),
    click.option("-v", "--verbose", is_flag=True, help="Print whole paths, and what is usually left out."),
    click.option(
        "--color",
        type=Choice(["auto", "always", "never"]),
        default="auto",
        show_default=True,
        help="Colours and tables; auto: on a terminal, and as NO_COLOR, FORCE_COLOR and TERM=dumb say.",
    ),
)

dry_run_option = click.option("-n", "--dry-run", is_flag=True, help="Print what would be done and write nothing.")

skill_option = click.option(
    "--skill",
    "names",
    multiple=True,
    type=Choice(list(skill.SKILL_TEMPLATES)),
    metavar="NAME",
    help=f"Only this skill; repeatable: {', '.join(skill.SKILL_TEMPLATES)}.",
)


def _agent_options(default: str) -> tuple[Decorator, ...]:
    return (
        click.option(
            "--agent",
            "agent_keys",
            multiple=True,
            type=Choice(list(AGENT_CONFIG), case_sensitive=False),
            metavar="KEY",
            help=f"An agent, as `agents` lists them; repeatable.  [default: {default}]",
        ),
        click.option("--all-agents", is_flag=True, help="Every agent."),
        click.option("--detect", is_flag=True, help="The agents in use, judging by directories such as ~/.cursor."),
    )


def _scope_option(scoping: Scoping) -> Decorator:
    default = "user, or project with -C" if scoping == "one" else "both, or project with -C"
    return click.option(
        "--scope", type=Choice(SCOPES), help=f"The home directory (user) or the repository (project).  [{default}]"
    )


_project_option = click.option(
    "-C",
    "--project",
    type=click.Path(exists=True, file_okay=False, path_type=Path),
    metavar="DIR",
    help="The project's root.  [default: the nearest folder upward with .git, else the current one]",
)


def asked_for(scoping: Scoping, *, agents: str = "") -> Decorator:
    """Give a command its `Request`, and print the report that it returns.

    `agents` says in words which agents a command is about if none are named; without it they cannot be named.
    """

    def decorate(command: Callable[..., object]) -> Callable[..., object]:
        @wraps(command)
        def run(
            *,
            project: Path | None,
            scope: Scope | None = None,
            agent_keys: tuple[str, ...] = (),
            all_agents: bool = False,
            detect: bool = False,
            **options: object,
        ) -> None:
            if all_agents + detect + bool(agent_keys) > 1:
                raise click.UsageError("--agent, --all-agents and --detect exclude each other.")
            is_given = click.get_current_context().get_parameter_source("scope") is ParameterSource.COMMANDLINE
            if scope is None and project and scoping != "pair":
                scope = "project"
            scopes = (scope,) if scope else ("user",) if scoping == "one" else SCOPES
            wanted = Wanted(scopes, project and project.absolute(), agent_keys, all_agents, detect, is_given)

            def answer(console: Console, **options: object) -> Report:
                request = Request(wanted, console)
                report = command(request, **options)
                assert isinstance(report, Report)  # noqa: S101 (for the type checker)
                return report._replace(
                    errors=list(dict.fromkeys([*request.obstacles, *report.errors])),
                    exit_code=report.exit_code or int(bool(request.obstacles)),
                )

            speaking(answer, click.get_current_context().command.name or "")(**options)

        decorated: Callable[..., object] = run
        agent_options = _agent_options(agents) if agents else ()
        scope_options = () if scoping == "pair" else (_scope_option(scoping),)
        for option in reversed((*agent_options, *scope_options, _project_option)):
            decorated = option(decorated)
        return decorated

    return decorate


def with_output(command: Callable[..., object]) -> Callable[..., object]:
    """Add the options that say how a command speaks."""
    for option in reversed(output_options):
        command = option(command)
    return command
