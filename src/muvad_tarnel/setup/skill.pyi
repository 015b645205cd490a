import re
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path
from typing import Literal, TypeAlias

from muvad_tarnel import __version__ as __version__
from muvad_tarnel.setup.config import AGENT_CONFIG as AGENT_CONFIG

# For functions that raise ValueError for any other scope. Functions that only plan treat any other text as "project".
_Scope: TypeAlias = Literal["user", "project"]  # noqa: UP040 (older tools don't know `type` statements)

SKILL_DIR_NAME: str
_SKILL_TEMPLATE: str
MAP_SKILL_DIR_NAME: str
_MAP_SKILL_TEMPLATE: str
WIKI_SKILL_DIR_NAME: str
_WIKI_SKILL_TEMPLATE: str
SKILL_TEMPLATES: dict[str, str]

def render_skill_md(version: str = ..., skill_name: str = "tarnel") -> str: ...
def skill_capable_agents() -> list[str]: ...
def _agent_roots(agent_keys: Iterable[str], scope: str) -> dict[str, tuple[str, ...]]: ...

_EXHAUSTIVE_SEARCH_LIMIT: int
_Score: TypeAlias = tuple[int, int, int, tuple[str, ...]]  # noqa: UP040 (at runtime, a plain alias)

def _score(selection: tuple[str, ...], agent_roots: dict[str, tuple[str, ...]]) -> _Score | None: ...
def resolve_skill_dirs(agent_keys: Iterable[str], scope: str = "project") -> list[str]: ...
def skill_dir_plan(agent_keys: Iterable[str], scope: str = "project") -> dict[str, list[str]]: ...

@dataclass
class SkillResult:
    success: bool
    scope: str
    path: str
    message: str
    installed: bool = False
    agents: tuple[str, ...] = ()

_VERSION_RE: re.Pattern[str]

def _installed_version(path: Path) -> str | None: ...
def _version_tuple(v: str) -> tuple[int, ...]: ...

DEFAULT_AGENTS: tuple[str, ...]

def _scope_base(scope: _Scope, project_root: Path | None = None) -> Path: ...
def skill_target_path(
    scope: _Scope, project_root: Path | None = None, skill_name: str = "tarnel", skills_dir: str = ".claude/skills"
) -> Path: ...
def install_skill(
    scope: _Scope = "user",
    project_root: Path | None = None,
    *,
    force: bool = False,
    dry_run: bool = False,
    skill_name: str = "tarnel",
    skills_dir: str = ".claude/skills",
    agents: tuple[str, ...] = (),
) -> SkillResult: ...
def install_skills(
    scope: _Scope = "user",
    project_root: Path | None = None,
    *,
    agents: Iterable[str] = ("claude",),
    force: bool = False,
    dry_run: bool = False,
) -> list[SkillResult]: ...
def _reading_agents(skills_dir: str, agent_roots: dict[str, tuple[str, ...]]) -> tuple[str, ...]: ...
def skill_status(project_root: Path | None = None, *, agents: Iterable[str] = ("claude",)) -> list[SkillResult]: ...
def shadowed_skills(project_root: Path | None = None, *, agents: Iterable[str] = ("claude",)) -> list[str]: ...
