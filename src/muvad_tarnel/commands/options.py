"""Declare a command: the options that commands share, and the printing of its report."""

from collections.abc import Callable
from functools import wraps
from pathlib import Path
from typing import Any

import click

from muvad_tarnel.commands.request import Request, Scoping
from muvad_tarnel.commands.spelling import Choice, did_you_mean
from muvad_tarnel.failure import Failure, obstacle_of
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Report
from muvad_tarnel.output.text import Style
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup.config import AGENT_CONFIG

dry_run_option = click.option("-n", "--dry-run", is_flag=True, help="Show what would be done, and change nothing.")
_output_options = [
    click.Option(["--json"], is_flag=True, help="Print one JSON object."),
    click.Option(["-q", "--quiet"], is_flag=True, help="Only print errors, requested texts and paths of backups."),
    click.Option(["-v", "--verbose"], is_flag=True, help="Print full paths in tables, and all agents by name."),
    click.Option(
        ["--color"],
        type=Choice(["auto", "always", "never"]),
        default="auto",
        show_default=True,
        help="Colours and tables. auto: on a terminal; NO_COLOR, FORCE_COLOR and TERM=dumb change that.",
    ),
]


class SkillCommand(click.Command):
    """A command that suggests the intended option for an unknown one or an unexpected argument."""

    allow_extra_args = True

    def parse_args(self, ctx: click.Context, args: list[str]) -> list[str]:
        try:
            rest = super().parse_args(ctx, args)
        except click.NoSuchOption as error:  # click's own suggestions are too far-fetched
            ctx.fail(error.message + did_you_mean(error.option_name, error.possibilities or ()))
        if ctx.args and not ctx.resilient_parsing:
            takes_agents = any(parameter.name == "agent_keys" for parameter in self.params)
            guess = did_you_mean(ctx.args[0], AGENT_CONFIG, "--agent ") if takes_agents else ""
            ctx.fail(f"Unexpected argument {ctx.args[0]!r}.{guess}")
        return rest


def skill_command(scoping: Scoping, *, agents: str = "") -> Callable[[Callable[..., Report]], click.Command]:
    """Make the command of the same name from a function that takes a `Request` and returns a `Report`.

    `agents` describes the default agents in the help. If it is empty, the command has no options for agents.
    """

    def decorate(function: Callable[..., Report]) -> click.Command:
        @wraps(function)
        def run(*, json: bool, quiet: bool, verbose: bool, color: str, **options: Any) -> None:
            style, command = Style.choose(color), function.__name__
            console = Console(command=command, style=style, json=json, quiet=quiet, verbose=verbose)
            about = ("project", "scope", "agent_keys", "all_agents", "detect", "dry_run")
            try:
                request = Request(console, scoping, **{key: options.pop(key) for key in about if key in options})
                report = function(request, **options)
            except (Failure, OSError) as error:
                met = error.args[0] if isinstance(error, Failure) else obstacle_of(error, error.filename or command)
                report = Report([], [], errors=[met], exit_code=1)
            console.show(report._replace(errors=list(dict.fromkeys(report.errors))))
            click.get_current_context().exit(report.exit_code)

        command = click.command(
            function.__name__,
            SkillCommand,
            params=_request_options(scoping, agents),
            short_help=(function.__doc__ or "").partition("\n")[0],
            epilog="Exit codes: 0 success, 1 failure, 2 usage error.",
        )(run)
        command.params += _output_options
        return command

    return decorate


def _request_options(scoping: Scoping, agents: str) -> list[click.Parameter]:
    """The options that become arguments of `Request`."""
    options: list[click.Parameter] = []
    if agents:
        key = Choice(AGENT_CONFIG, case_sensitive=False)
        text = f"An agent, as `agents` lists them; repeatable.  [default: {agents}]"
        options = [
            click.Option(["--agent", "agent_keys"], multiple=True, type=key, metavar="KEY", help=text),
            click.Option(["--all-agents"], is_flag=True, help="Every agent."),
            click.Option(["--detect"], is_flag=True, help="The agents in use, judging by directories like ~/.cursor."),
        ]
    if scoping in ("one", "both"):
        default = "user" if scoping == "one" else "both"
        text = f"The home directory (user) or the repository (project).  [default: {default}, or project with -C]"
        options.append(click.Option(["--scope"], type=Choice(SCOPES), help=text))
    if scoping != "none":
        text = "The project's root.  [default: the nearest folder upward with .git, else the current one]"
        folder = click.Path(exists=True, file_okay=False, path_type=Path)
        options.append(click.Option(["-C", "--project"], type=folder, metavar="DIR", help=text))
    return options
