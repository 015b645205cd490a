"""The input of a command: its agents, its scopes and the survey of the disk."""

from collections.abc import Sequence
from functools import cached_property
from pathlib import Path
from typing import Literal

import click

from muvad_tarnel.failure import Failure, Obstacle
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.output.console import Console
from muvad_tarnel.roots import SCOPES, Roots, agents_in_use, find_project_root, home_directory, repository_around
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

# The scopes of a command: none; one, by default the user's; both unless one is named; always both.
type Scoping = Literal["none", "one", "both", "pair"]


class Request:
    """The named agents, the requested scopes, and the roots of all scopes that have one."""

    def __init__(
        self,
        console: Console,
        scoping: Scoping,
        *,
        project: Path | None = None,
        scope: Scope | None = None,
        agent_keys: tuple[str, ...] = (),
        all_agents: bool = False,
        detect: bool = False,
        dry_run: bool = False,
    ) -> None:
        """Find the roots and the agents. Raises `Failure` if a requested scope has no root."""
        if all_agents + detect + bool(agent_keys) > 1:
            raise click.UsageError("--agent, --all-agents and --detect cannot be combined.")
        self.console = console
        self.dry_run = dry_run
        self.project = project and (project.resolve() if ".." in project.parts else project.absolute())
        if scope is None and project and scoping != "pair":
            scope = "project"
        self.is_scope_given = scope is not None
        usual: dict[str, tuple[Scope, ...]] = {"none": (), "one": ("user",)}
        self.scopes = (scope,) if scope else usual.get(scoping, SCOPES)
        self.roots = self._roots()
        if "project" in self.scopes and self.roots["project"].resolve() == self.roots.get("user", Path()).resolve():
            console.note("the project is the home directory")
            users = {copy.file for copy in self.survey.copies if copy.scope == "user"}
            if scoping == "both" and not scope and all(c.file in users for c in self.survey.copies if c.exists):
                self.scopes = ("user",)  # the project's report would be the same
        self.named = tuple(self.in_use if detect else AGENT_CONFIG if all_agents else dict.fromkeys(agent_keys))
        if detect:
            if not self.in_use:
                home = str(self.roots.get("user", ""))
                raise Failure(Obstacle(home, "no agent was detected", "use --agent or --all-agents"))
            console.note(f"detected: {', '.join(AGENT_CONFIG[agent].name for agent in self.in_use)}")

    @cached_property
    def survey(self) -> Survey:
        """The copies on the disk, always at all scopes because hints depend on both."""
        return Survey.of(self.roots)

    @property
    def scope(self) -> Scope:
        """The scope of a command that has a single one."""
        return self.scopes[0]

    @property
    def agents(self) -> tuple[str, ...]:
        """The agents named, or the default ones. Every agent has directories at both scopes."""
        return self.named or skill.DEFAULT_AGENTS

    @cached_property
    def in_use(self) -> tuple[str, ...]:
        """The detected agents."""
        return agents_in_use(self.roots["user"]) if "user" in self.roots else ()

    def place(self, scope: Scope, directory: str) -> str:
        """A skills directory for display: short on a terminal, a full path elsewhere and with --verbose."""
        is_short = self.console.style.is_terminal and not self.console.verbose
        return self.survey.at(scope, directory)[0].place if is_short else str(self.roots[scope] / directory)

    def title(self, scope: Scope) -> str:
        """The title of a scope's table: the scope and its root."""
        return f"{scope.capitalize()} scope: {self.roots[scope]}"

    def command(self, scope: Scope | None, words: Sequence[str]) -> list[str]:
        """A command for the same project, as a list of arguments."""
        located = ["-C", str(self.project)] if self.project and scope != "user" else []
        return ["muvad-tarnel", "skill", *words, *located]

    def _roots(self) -> Roots:
        roots: Roots = {}
        for scope in SCOPES:
            try:
                roots[scope] = home_directory() if scope == "user" else self.project or find_project_root()
            except Failure:
                if scope in self.scopes:
                    raise
        if "project" in self.scopes and (root := roots.get("project")):
            if not self.project and root != Path.cwd():
                self.console.note(f"the project is {root}, the nearest folder upward with .git")
            if (repository := repository_around(root.resolve())) != root.resolve():
                self.console.note(f"the project is {root}, a folder of the repository {repository}")
        return roots
