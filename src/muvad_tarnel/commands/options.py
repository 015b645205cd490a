"""The options that commands share, and what becomes of them: a `Request`."""

import os
from collections.abc import Callable
from functools import wraps
from pathlib import Path
from typing import Literal, NamedTuple

import click
from click.core import ParameterSource

from muvad_tarnel.failure import Failure
from muvad_tarnel.installed.obstacles import reason_of
from muvad_tarnel.installed.readers import agents_in_use, moved_directories, names_of
from muvad_tarnel.installed.scopes import SCOPES, Roots, Scope, find_project_root, home_directory, same_file
from muvad_tarnel.output.console import Console, Style
from muvad_tarnel.output.report import Report
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG

type Decorator = Callable[[Callable[..., object]], Callable[..., object]]

# The scopes that a command is about: one (for the user, if nothing is said), both unless one is named, always both.
type Scoping = Literal["one", "both", "pair"]


class Request(NamedTuple):
    """What a command is asked about: these agents, at the scopes with these roots (absolute paths)."""

    agents: tuple[str, ...]
    roots: Roots
    console: Console
    project_given: Path | None

    @property
    def scope(self) -> Scope:
        """The scope of a command that has one."""
        return next(iter(self.roots))

    def place(self, scope: Scope, directory: str) -> str:
        """A skills directory in words."""
        return self.console.place(scope, self.roots[scope], directory)

    def line(self, command: str, scope: Scope | None, agents: tuple[str, ...] = (), rest: tuple[str, ...] = ()) -> str:
        """A command line to copy, for the same project. No scope: the command is always about both."""
        words = ["muvad-tarnel", "skill", command, *rest]
        words += ["--scope", "project"] if scope == "project" else []
        words += ["--project", str(self.project_given)] if scope != "user" and self.project_given else []
        if set(agents) == set(skill.skill_capable_agents()):
            words.append("--all-agents")
        elif agents != skill.DEFAULT_AGENTS:
            words += [word for agent in agents for word in ("--agent", agent)]
        if all(word.replace("/", "").replace(".", "").replace("-", "").isalnum() for word in words):
            return " ".join(words)
        from shlex import join  # noqa: PLC0415 (seldom needed)

        return join(words)

    def note_moved(self) -> None:
        """Say which agents read elsewhere than where this package installs for them."""
        if "user" not in self.roots:
            return
        for moved in moved_directories(self.agents, self.roots["user"], os.environ):
            self.console.note(
                f"{AGENT_CONFIG[moved.agent].name} reads {moved.actual} and not {moved.fixed}, for {moved.variable} is "
                f"set: copy the skills there, or unset it"
            )


def output_options(command: Callable[..., object]) -> Callable[..., object]:
    """Add the options that say how a command speaks."""
    for option in (
        click.option(
            "--color",
            type=click.Choice(["auto", "always", "never"]),
            default="auto",
            show_default=True,
            help="Colours and tables; auto: on a terminal, and as NO_COLOR, FORCE_COLOR and TERM=dumb say.",
        ),
        click.option("-v", "--verbose", is_flag=True, help="Whole paths, and what is usually left out."),
        click.option("-q", "--quiet", is_flag=True, help="Say nothing but errors."),
        click.option("--json", is_flag=True, help="One JSON object on standard output, notes on standard error."),
    ):
        command = option(command)
    return command


def _agent_options(command: Callable[..., object]) -> Callable[..., object]:
    for option in (
        click.option("--detect", is_flag=True, help="The agents in use, as directories such as ~/.cursor tell."),
        click.option("--all-agents", is_flag=True, help="Every agent that can take skills."),
        click.option(
            "--agent",
            "agent_keys",
            multiple=True,
            type=click.Choice(skill.skill_capable_agents(), case_sensitive=False),
            metavar="KEY",
            help=f"An agent, repeatable: {', '.join(AGENT_CONFIG)}.  [default: {', '.join(skill.DEFAULT_AGENTS)}]",
        ),
    ):
        command = option(command)
    return command


def _scope_option(scoping: Scoping) -> Decorator:
    return click.option(
        "--scope",
        type=click.Choice(SCOPES),
        default="user" if scoping == "one" else None,
        show_default=True,
        help="Under the home directory or in the project." + ("" if scoping == "one" else "  [default: both]"),
    )


_project_option = click.option(
    "--project",
    type=click.Path(exists=True, file_okay=False, path_type=Path),
    metavar="DIR",
    help="The project's root.  [default: the nearest folder upward that holds .git, else the current one]",
)


def asked_for(scoping: Scoping) -> Decorator:
    """Give a command its agents, scope and project as a `Request`, and print the report that it answers."""

    def decorate(command: Callable[..., object]) -> Callable[..., object]:
        @wraps(command)
        def run(
            *,
            agent_keys: tuple[str, ...],
            all_agents: bool,
            detect: bool,
            project: Path | None,
            scope: Scope | None = None,
            **options: object,
        ) -> None:
            def answer(console: Console, **options: object) -> Report:
                roots = _roots(console, SCOPES if scope is None else (scope,), project)
                agents = _agents(console, agent_keys, all_agents=all_agents, detect=detect)
                report = command(Request(agents, roots, console, project and project.absolute()), **options)
                assert isinstance(report, Report)  # noqa: S101 (for the type checker)
                is_complete = len(roots) == (2 if scope is None else 1)
                return report if is_complete else report._replace(exit_code=1)

            if all_agents + detect + bool(agent_keys) > 1:
                raise click.UsageError("--agent, --all-agents and --detect exclude each other.")
            # Scripts may give both; alone, the project is what was meant, and not what the default scope is about.
            is_default = click.get_current_context().get_parameter_source("scope") is not ParameterSource.COMMANDLINE
            if project and scope == "user" and is_default:
                raise click.UsageError("--project needs --scope project.")
            speaking(answer, command.__name__)(**options)

        with_options = _agent_options(_project_option(run))
        return with_options if scoping == "pair" else _scope_option(scoping)(with_options)

    return decorate


def speaking(answer: Callable[..., Report], name: str) -> Callable[..., None]:
    """Take the output options: run `answer` with a console, print its report and exit."""

    def run(*, json: bool, quiet: bool, verbose: bool, color: str, **options: object) -> None:
        style = Style.choose(color, os.environ)
        console = Console(command=name, style=style, json=json, quiet=quiet, verbose=verbose)
        try:
            report = answer(console, **options)
        except Failure as failure:
            console.error(str(failure))
            report = Report([], [], exit_code=1)
        except OSError as error:
            console.error(f"{error.filename or name}: {reason_of(error)}: see that it can be read, and run this again")
            report = Report([], [], exit_code=1)
        try:
            console.show(report)
        except OSError as error:
            raise click.ClickException(f"standard output cannot be written to: {reason_of(error)}") from error
        click.get_current_context().exit(report.exit_code)

    return run


def _agents(console: Console, named: tuple[str, ...], *, all_agents: bool, detect: bool) -> tuple[str, ...]:
    if all_agents:
        return tuple(skill.skill_capable_agents())
    if not detect:
        return tuple(dict.fromkeys(named)) or skill.DEFAULT_AGENTS
    found = agents_in_use(home_directory(), os.environ)
    if not found:
        raise Failure(f"no agent was detected in {home_directory()}: name agents by --agent, or take --all-agents")
    console.note(f"detected: {names_of(found)}")
    return found


def _roots(console: Console, scopes: tuple[Scope, ...], project: Path | None) -> Roots:
    """The roots of the scopes. Of two, one that cannot be found is told and left out."""
    roots: Roots = {}
    failure: Failure | None = None
    for scope in scopes:
        try:
            roots[scope] = home_directory() if scope == "user" else _project_root(console, project)
        except Failure as error:
            if failure or len(scopes) == 1:
                raise
            failure = error
    if failure:
        console.error(str(failure))
    elif "project" in roots:
        _note_home_as_project(console, roots["project"])
    return roots


def _project_root(console: Console, project: Path | None) -> Path:
    if project:
        return project.absolute()
    root = find_project_root()
    if root != Path.cwd():
        console.note(f"the project is {root}, the nearest folder upward that holds .git")
    return root


def _note_home_as_project(console: Console, root: Path) -> None:
    try:
        home = home_directory()
    except Failure:
        return
    if same_file(root, home):
        console.note(f"the project's root {root} is the home directory: user and project scope are one place there")
