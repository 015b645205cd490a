"""Workloads: the call, the files it finds, and the file operations it needs at least."""

import os
import shutil
from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path
from types import ModuleType
from typing import Any, Literal

from agent_tables import FOUR, AgentTable
from muvad_tarnel import __version__

ROOT = Path(__file__).resolve().parents[1]
SKILLS = ("tarnel", "tarnel-map", "tarnel-wiki")
type Scope = Literal["user", "project"]


@dataclass(frozen=True)
class Operation:
    """A file operation of the floor. `content` is for writing."""

    kind: Literal["exists", "read", "make directory", "write"]
    path: Path
    content: bytes = b""


@dataclass
class Workload:
    """One row of the table.

    `statement` is Python code that sees the module's names and `names`. `must` and `aim` are fractions of plain
    Python's time; for workloads that touch files, fractions in excess of the floor's. With `fresh`, each call gets its
    own empty project, `next(projects)`.
    """

    name: str
    statement: str
    must: float | None = None
    aim: float | None = None
    table: AgentTable = field(default_factory=lambda: FOUR)
    copies: tuple[Scope, ...] = ()  # scopes where the skills are installed
    files: Callable[["Workload", Path], list[Operation]] | None = None  # the operations of a call for a project
    plans: bool = False
    fresh: bool = False
    counted: int = 2  # calls for counting instructions
    folder: Path = Path()

    @property
    def has_floor(self) -> bool:
        """Whether the workload plans or touches files."""
        return self.plans or self.files is not None

    @property
    def home(self) -> Path:
        return self.folder / "home"

    @property
    def project(self) -> Path:
        return self.folder / "project"

    @property
    def names(self) -> dict[str, Any]:
        """The statement's globals, apart from the module's names and `projects`."""
        copy = self.project / ".claude/skills/tarnel/SKILL.md"
        return {"agents": tuple(self.table), "project": self.project, "copy": copy, "version": "1.10.0"}

    def lay_out(self, base: Path, plain: ModuleType) -> None:
        """Create the home and the project below `base`, and install the copies."""
        self.folder = base / self.name.replace(" ", "-")
        vars(plain)["AGENT_CONFIG"] = self.table
        for directory in (self.home, self.project):
            directory.mkdir(parents=True)
        for scope in self.copies:
            self.prepare(1)
            plain.install_skills(scope, self.project, agents=tuple(self.table))

    def prepare(self, calls: int) -> list[Path]:
        """Set the home directory; return the projects for the next calls."""
        os.environ["HOME"] = str(self.home)
        if not self.fresh:
            return [self.project]
        shutil.rmtree(self.project)
        projects = [self.project / str(i) for i in range(calls)]
        for project in projects:
            project.mkdir(parents=True)
        return projects

    def operations(self, projects: list[Path]) -> list[Operation]:
        """The operations that every implementation needs, call by call."""
        return [operation for project in projects for operation in (self.files(self, project) if self.files else ())]

    def roots(self, scope: Scope) -> list[str]:
        """Every directory that an agent reads."""
        return sorted({root for agent in self.table.values() for root in getattr(agent, f"skills_{scope}_roots")})


def skill_files(base: Path, directories: list[str]) -> list[Path]:
    """The paths of the skills' documents in these directories."""
    return [base / directory / name / "SKILL.md" for directory in directories for name in SKILLS]


def targets(workload: Workload, project: Path) -> list[Path]:
    """The files that an install into the project writes: for the four agents, in two directories."""
    chosen = [".claude/skills", ".windsurf/skills"] if workload.table is FOUR else workload.roots("project")
    return skill_files(project, chosen)


def read_one(workload: Workload, _project: Path) -> list[Operation]:
    """The stamp of a copy."""
    return [Operation("read", workload.names["copy"])]


def read_all(workload: Workload, project: Path) -> list[Operation]:
    """Status: read the copies in every directory, at both scopes."""
    paths = skill_files(workload.home, workload.roots("user")) + skill_files(project, workload.roots("project"))
    return [Operation("read", path) for path in paths]


def find_pairs(workload: Workload, project: Path) -> list[Operation]:
    """Shadowed: Claude Code, which is checked first, has both copies of each skill."""
    return [
        Operation("exists", path) for base in (workload.home, project) for path in skill_files(base, [".claude/skills"])
    ]


def find(workload: Workload, project: Path) -> list[Operation]:
    """A dry run where nothing is installed."""
    return [Operation("exists", path) for path in targets(workload, project)]


def find_and_read(workload: Workload, project: Path) -> list[Operation]:
    """An install where everything is up to date."""
    return [op for path in targets(workload, project) for op in (Operation("exists", path), Operation("read", path))]


def write(workload: Workload, project: Path) -> list[Operation]:
    """An install where nothing is installed."""
    return [
        op
        for path in targets(workload, project)
        for op in (Operation("exists", path), Operation("make directory", path.parent), writing(path))
    ]


def rewrite(workload: Workload, project: Path) -> list[Operation]:
    """A forced install, which reports the version it replaces."""
    return [
        op
        for path in targets(workload, project)
        for op in (
            Operation("exists", path),
            Operation("read", path),
            Operation("make directory", path.parent),
            writing(path),
        )
    ]


def writing(path: Path) -> Operation:
    """Write the document that belongs there, stamped with the host's version."""
    template = (ROOT / "skills" / path.parent.name / "SKILL.md").read_text(encoding="utf-8")
    return Operation("write", path, template.format(version=__version__).encode())
