"""What a command is asked about: agents, scopes, and the survey of the disk that it needs."""

from collections.abc import Sequence
from functools import cached_property
from pathlib import Path

from muvad_tarnel.failure import Failure, Obstacle
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.output.console import Console
from muvad_tarnel.roots import SCOPES, Roots, agents_in_use, find_project_root, home_directory
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Request:
    """The agents named, the scopes looked at, and the roots of all scopes that have one."""

    def __init__(
        self,
        console: Console,
        *,
        scopes: tuple[Scope, ...],
        is_scope_given: bool,
        project: Path | None,
        agent_keys: tuple[str, ...],
        all_agents: bool,
        detect: bool,
    ) -> None:
        """Find the roots and the agents. Raises `Failure` if there is no root for any scope looked at."""
        self.console = console
        self.is_scope_given = is_scope_given
        self.project = project
        # What kept a scope that is looked at from having a root. The command goes on with the other.
        self.obstacles: list[Obstacle] = []
        self.roots = self._roots(scopes)
        self.scopes = tuple(scope for scope in scopes if scope in self.roots)
        self._agent_keys = agent_keys
        self.named = tuple(AGENT_CONFIG) if all_agents else tuple(dict.fromkeys(agent_keys))
        if detect:
            self.named = self._detected()

    @cached_property
    def survey(self) -> Survey:
        """What is on the disk, at all scopes: hints depend on both."""
        return Survey.of(self.roots)

    @property
    def scope(self) -> Scope:
        """The scope of a command that has one."""
        return self.scopes[0]

    @property
    def root(self) -> Path:
        """The root of that scope."""
        return self.roots[self.scope]

    @cached_property
    def agents(self) -> tuple[str, ...]:
        """The agents named, or the default ones. Raises `Failure` if one has no directory at the scope."""
        agents = self.named or skill.DEFAULT_AGENTS
        for agent in agents:
            if not AGENT_CONFIG[agent].directories(self.scope) and self._agent_keys:
                raise Failure(
                    f"{AGENT_CONFIG[agent].name} has no skills directory at {self.scope} scope", "use the other scope"
                )
        return tuple(agent for agent in agents if AGENT_CONFIG[agent].directories(self.scope))

    @cached_property
    def in_use(self) -> tuple[str, ...]:
        """The agents that are detected."""
        return agents_in_use(self.roots["user"]) if "user" in self.roots else ()

    def place(self, scope: Scope, directory: str) -> str:
        """A skills directory in words: short on a terminal, whole elsewhere and with --verbose."""
        path = self.roots[scope] / directory
        if not self.console.style.is_terminal or self.console.verbose or Path(directory).is_absolute():
            return str(path)
        return f"~/{directory}" if scope == "user" else directory

    def command(self, scope: Scope | None, words: Sequence[str]) -> list[str]:
        """A command for the same project, as a program would start it."""
        project = self.project
        located = ["-C", str(project)] if project and scope != "user" else []
        return ["muvad-tarnel", "skill", *words, *located]

    def _roots(self, scopes: tuple[Scope, ...]) -> Roots:
        roots: Roots = {}
        for scope in SCOPES:
            try:
                roots[scope] = home_directory() if scope == "user" else self.project or find_project_root()
            except Failure as failure:
                if scope in scopes:
                    self.obstacles.append(failure.obstacle)
                    if len(self.obstacles) == len(scopes):
                        raise
        if "project" in scopes and "project" in roots:
            self._note_project(roots)
        return roots

    def _note_project(self, roots: Roots) -> None:
        root = roots["project"]
        if not self.project and root != Path.cwd():
            self.console.note(f"the project is {root}, the nearest folder upward with .git")
        if "user" in roots and root.resolve() == roots["user"].resolve():
            self.console.note("the project is the home directory: both scopes are the same place")

    def _detected(self) -> tuple[str, ...]:
        home = home_directory()
        found = agents_in_use(home)
        if not found:
            raise Failure(f"no agent was detected in {home}", "use --agent or --all-agents")
        self.console.note(f"detected: {', '.join(AGENT_CONFIG[agent].name for agent in found)}")
        return found
