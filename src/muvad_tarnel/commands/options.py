"""Declaring a command: the options that commands share, and how its report is printed."""

import os
import sys
from collections.abc import Callable
from functools import partial, wraps
from pathlib import Path
from typing import Any, Literal

import click
from click.core import ParameterSource

from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.spelling import Choice
from muvad_tarnel.failure import Failure, obstacle_of
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Report
from muvad_tarnel.output.text import Style, silence
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

# The scopes that a command is about: one (for the user, if nothing is said), both unless one is named, always both.
type Scoping = Literal["one", "both", "pair"]

NOTHING_TO_LOOK_AT = "a scope's root could not be found, or no agent was detected"

dry_run_option = click.option("-n", "--dry-run", is_flag=True, help="Print what would be done and write nothing.")

skill_option = click.option(
    "--skill",
    "names",
    multiple=True,
    type=Choice(list(skill.SKILL_TEMPLATES)),
    metavar="NAME",
    help=f"Only this skill; repeatable: {', '.join(skill.SKILL_TEMPLATES)}.",
)


class SkillCommand(click.Command):
    """A command whose help ends with its exit codes."""

    fails_if = ""

    def format_epilog(self, ctx: click.Context, formatter: click.HelpFormatter) -> None:  # noqa: ARG002
        codes = [("0", "success"), ("1", self.fails_if), ("2", "usage error")]
        with formatter.section("Exit codes"):
            formatter.write_dl([code for code in codes if code[1]])


def skill_command(
    scoping: Scoping | None = None, *, agents: str = "", fails_if: str = ""
) -> Callable[[Callable[..., Report]], click.Command]:
    """Make a function the command of its name: it takes a `Request`, or a `Console` without `scoping`, and reports.

    `agents` says in words which agents a command is about if none are named; without it they cannot be named.
    `fails_if` says when it exits with 1.
    """

    def decorate(function: Callable[..., Report]) -> click.Command:
        @wraps(function)
        def run(*, json: bool, quiet: bool, verbose: bool, color: str, **options: Any) -> None:
            style = Style.choose(color, os.environ)
            console = Console(command=function.__name__, style=style, json=json, quiet=quiet, verbose=verbose)
            answer = partial(_answer, function, console, scoping) if scoping else partial(function, console)
            _print_report(console, partial(answer, **options))

        command = click.command(function.__name__, SkillCommand, params=_request_options(scoping, agents))(run)
        command.fails_if = fails_if
        command.params += _output_options()
        return command

    return decorate


def _answer(
    command: Callable[..., Report],
    console: Console,
    scoping: Scoping,
    *,
    project: Path | None,
    scope: Scope | None = None,
    agent_keys: tuple[str, ...] = (),
    all_agents: bool = False,
    detect: bool = False,
    **options: object,
) -> Report:
    """The report of a command on the request that its options make."""
    if all_agents + detect + bool(agent_keys) > 1:
        raise click.UsageError("--agent, --all-agents and --detect exclude each other.")
    if scope is None and project and scoping != "pair":
        scope = "project"
    request = Request(
        console,
        scopes=(scope,) if scope else ("user",) if scoping == "one" else SCOPES,
        is_scope_given=click.get_current_context().get_parameter_source("scope") is ParameterSource.COMMANDLINE,
        project=project and project.absolute(),
        agent_keys=agent_keys,
        all_agents=all_agents,
        detect=detect,
    )
    report = command(request, **options)
    return report._replace(
        errors=list(dict.fromkeys([*request.obstacles, *report.errors])),
        exit_code=report.exit_code or int(bool(request.obstacles)),
    )


def _print_report(console: Console, answer: Callable[[], Report]) -> None:
    """Print the report, or what kept it from being made, and exit."""
    try:
        report = answer()
    except Failure as failure:
        report = Report([], [], errors=[failure.obstacle], exit_code=1)
    except OSError as error:
        report = Report([], [], errors=[obstacle_of(error, error.filename or console.command)], exit_code=1)
    try:
        console.show(report)
    except OSError as error:
        silence(sys.stdout)
        raise click.ClickException(f"standard output cannot be written to: {error.strerror}") from error
    click.get_current_context().exit(report.exit_code)


def _request_options(scoping: Scoping | None, agents: str) -> list[click.Parameter]:
    """The options that make a `Request`."""
    options: list[click.Parameter] = []
    if agents:
        options += [
            click.Option(
                ["--agent", "agent_keys"],
                multiple=True,
                type=Choice(list(AGENT_CONFIG), case_sensitive=False),
                metavar="KEY",
                help=f"An agent, as `agents` lists them; repeatable.  [default: {agents}]",
            ),
            click.Option(["--all-agents"], is_flag=True, help="Every agent."),
            click.Option(
                ["--detect"], is_flag=True, help="The agents in use, judging by directories such as ~/.cursor."
            ),
        ]
    if scoping in ("one", "both"):
        default = "user" if scoping == "one" else "both"
        text = f"The home directory (user) or the repository (project).  [{default}, or project with -C]"
        options.append(click.Option(["--scope"], type=Choice(SCOPES), help=text))
    if scoping:
        text = "The project's root.  [default: the nearest folder upward with .git, else the current one]"
        folder = click.Path(exists=True, file_okay=False, path_type=Path)
        options.append(click.Option(["-C", "--project"], type=folder, metavar="DIR", help=text))
    return options


def _output_options() -> list[click.Parameter]:
    """The options that say how a command prints its report."""
    return [
        click.Option(
            ["--json"], is_flag=True, help="Print one JSON object on standard output, notes on standard error."
        ),
        click.Option(["-q", "--quiet"], is_flag=True, help="Only print errors, and where replaced texts are kept."),
        click.Option(["-v", "--verbose"], is_flag=True, help="Print whole paths, and what is usually left out."),
        click.Option(
            ["--color"],
            type=Choice(["auto", "always", "never"]),
            default="auto",
            show_default=True,
            help="Colours and tables; auto: on a terminal, and as NO_COLOR, FORCE_COLOR and TERM=dumb say.",
        ),
    ]
