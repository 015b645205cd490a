"""Embedded `tarnel` agent skill + installer.

The skill is the adoption layer for agents that under-use the semantic index:
static instructions (CLAUDE.md, session-start context) decay over long sessions,
while a skill's trigger description is surfaced at decision time. The content is
embedded as a module constant, not as package data, so that every distribution
form of the host carries the same text; it is installed via
``muvad-tarnel skill install --scope user|project``.

Version stamping: the front matter carries the package version, and
`install_skill` overwrites an existing file only when it is older (or
``force=True``), so upgrades refresh the skill without clobbering
nothing-changed installs.
"""

# The plain-Python twin of the extension module: the reference of the differential tests
# and the peer of the benchmark. The only difference is that the template texts are read at
# import from the source tree beside this file instead of being compiled in. Messages format
# versions with !s, because a replaced __version__ may format differently from its str().

from __future__ import annotations

import itertools
import re
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path

from muvad_tarnel import __version__
from muvad_tarnel.setup.config import AGENT_CONFIG


def _read_template(skill_name: str) -> str:
    return (Path(__file__).resolve().parents[1] / "skills" / skill_name / "SKILL.md").read_text(encoding="utf-8")


SKILL_DIR_NAME = "tarnel"
_SKILL_TEMPLATE = _read_template(SKILL_DIR_NAME)
MAP_SKILL_DIR_NAME = "tarnel-map"
_MAP_SKILL_TEMPLATE = _read_template(MAP_SKILL_DIR_NAME)
WIKI_SKILL_DIR_NAME = "tarnel-wiki"
_WIKI_SKILL_TEMPLATE = _read_template(WIKI_SKILL_DIR_NAME)
del _read_template  # not a name of the extension module

SKILL_TEMPLATES: dict[str, str] = {
    SKILL_DIR_NAME: _SKILL_TEMPLATE,
    MAP_SKILL_DIR_NAME: _MAP_SKILL_TEMPLATE,
    WIKI_SKILL_DIR_NAME: _WIKI_SKILL_TEMPLATE,
}


def render_skill_md(version: str = __version__, skill_name: str = SKILL_DIR_NAME) -> str:
    """The SKILL.md content stamped with the given package version."""
    return SKILL_TEMPLATES[skill_name].format(version=version)


def skill_capable_agents() -> list[str]:
    """Agent keys with at least one verified skills directory."""
    return [key for key, cfg in AGENT_CONFIG.items() if cfg.skills_project_roots]


def _agent_roots(agent_keys: Iterable[str], scope: str) -> dict[str, tuple[str, ...]]:
    """Skill-discovery roots per requested agent, for one scope.

    Unknown keys and agents with no verified root for the scope are dropped.
    """
    roots: dict[str, tuple[str, ...]] = {}
    for key in dict.fromkeys(agent_keys):
        cfg = AGENT_CONFIG.get(key)
        if cfg is None:
            continue
        agent_dirs = cfg.skills_user_roots if scope == "user" else cfg.skills_project_roots
        if agent_dirs:
            roots[key] = agent_dirs
    return roots


# With up to this many candidate directories, every subset is scored.
_EXHAUSTIVE_SEARCH_LIMIT = 12

_Score = tuple[int, int, int, tuple[str, ...]]


def _score(selection: tuple[str, ...], agent_roots: dict[str, tuple[str, ...]]) -> _Score | None:
    """Rank a candidate directory set. Lower is better; None if it misses an agent.

    Ordered by:

    1. Fewest agents that would discover the skill from two directories at once.
    2. Most-native directories — an agent's own root beats a compatibility root,
       so a Cursor-only install lands in ``.cursor/skills`` rather than in a
       ``.claude/`` directory belonging to an agent nobody here uses.
    3. Fewest directories, then the paths themselves, so the result is stable.
    """
    chosen = set(selection)
    duplicates = 0
    native_rank = 0
    for roots in agent_roots.values():
        hits = [position for position, root in enumerate(roots) if root in chosen]
        if not hits:
            return None
        duplicates += len(hits) - 1
        native_rank += min(hits)
    return (duplicates, native_rank, len(selection), selection)


def resolve_skill_dirs(agent_keys: Iterable[str], scope: str = "project") -> list[str]:
    """The directories to install skills into so each agent discovers them once.

    Agents share skill roots: Cursor and Copilot both read ``.claude/skills``,
    which Claude Code also (only) reads. So the naive one-directory-per-agent
    install puts the same skill somewhere two agents can both see it, and they
    surface it twice.

    Pick the directory set where no agent sees the skill twice, preferring each
    agent's native root, then the fewest directories. With Claude configured,
    that collapses to ``.claude/skills`` — which Cursor and Copilot read too —
    plus ``.windsurf/skills``, because Windsurf's read of ``.claude/skills`` is
    behind a settings gate we cannot see (a duplicate there is visible and
    name-deduped; a miss would be silent).

    Returned paths are relative to the project root, or to the home directory
    when ``scope="user"``.
    """
    agent_roots = _agent_roots(agent_keys, scope)
    if not agent_roots:
        return []
    candidates = sorted({root for roots in agent_roots.values() for root in roots})
    if len(candidates) > _EXHAUSTIVE_SEARCH_LIMIT:
        greedy: list[str] = []
        for roots in agent_roots.values():
            if not any(root in greedy for root in roots):
                greedy.append(roots[0])
        return sorted(set(greedy))
    best: _Score | None = None
    best_selection: list[str] = []
    for size in range(1, len(candidates) + 1):
        for selection in itertools.combinations(candidates, size):
            score = _score(selection, agent_roots)
            if score is not None and (best is None or score < best):
                best = score
                best_selection = list(selection)
    return sorted(best_selection)


def skill_dir_plan(agent_keys: Iterable[str], scope: str = "project") -> dict[str, list[str]]:
    """Which agents each chosen directory serves — for install output and tests."""
    agent_roots = _agent_roots(agent_keys, scope)
    plan: dict[str, list[str]] = {}
    for directory in resolve_skill_dirs(agent_keys, scope):
        plan[directory] = [key for key, roots in agent_roots.items() if directory in roots]
    return plan


@dataclass
class SkillResult:
    """Outcome of a skill install/status operation."""

    success: bool
    scope: str
    path: str
    message: str
    installed: bool = False
    agents: tuple[str, ...] = ()


_VERSION_RE = re.compile(r"^version:\s*([0-9][\w.\-]*)\s*$", re.MULTILINE)


def _installed_version(path: Path) -> str | None:
    """Frontmatter version of an installed skill file, or None."""
    try:
        head = path.read_text(encoding="utf-8")[:2000]
    except OSError:
        return None
    match = _VERSION_RE.search(head)
    return match.group(1) if match else None


def _version_tuple(v: str) -> tuple[int, ...]:
    """Lenient numeric version key ('1.10.0' -> (1, 10, 0)); non-ints count as 0."""
    parts: list[int] = []
    for piece in v.split("."):
        match = re.match(r"\d+", piece)
        parts.append(int(match.group()) if match else 0)
    return tuple(parts)


DEFAULT_AGENTS = ("claude",)


def _scope_base(scope: str, project_root: Path | None = None) -> Path:
    """Root that a scope's skill directories are relative to."""
    if scope == "user":
        return Path.home()
    if scope == "project":
        return Path(project_root or Path.cwd())
    raise ValueError(f"unknown skill scope: {scope!r} (use 'user' or 'project')")


def skill_target_path(
    scope: str,
    project_root: Path | None = None,
    skill_name: str = SKILL_DIR_NAME,
    skills_dir: str = ".claude/skills",
) -> Path:
    """Where one skill lives, under one agent's skills directory.

    The directory name IS the skill's identity: Claude Code derives the command
    name from it, and Cursor requires it to equal the frontmatter ``name``.
    """
    base = _scope_base(scope, project_root)
    return base / skills_dir / skill_name / "SKILL.md"


def install_skill(
    scope: str = "user",
    project_root: Path | None = None,
    *,
    force: bool = False,
    dry_run: bool = False,
    skill_name: str = SKILL_DIR_NAME,
    skills_dir: str = ".claude/skills",
    agents: tuple[str, ...] = (),
) -> SkillResult:
    """Install (or upgrade) one embedded skill into one skills directory.

    An existing install is overwritten only when its stamped version is older
    than the running package (or ``force``); a same-or-newer install is left
    untouched so re-running init/install is always safe.
    """
    path = skill_target_path(scope, project_root, skill_name, skills_dir)
    existing = _installed_version(path) if path.exists() else None
    if existing and not force and _version_tuple(existing) >= _version_tuple(__version__):
        return SkillResult(
            success=True, scope=scope, path=str(path), message=f"already up to date (v{existing!s})", agents=agents
        )
    if existing:
        action = f"update v{existing!s} -> v{__version__!s}"
        done = f"updated to v{__version__!s}"
    else:
        action = f"install v{__version__!s}"
        done = f"installed v{__version__!s}"
    if dry_run:
        return SkillResult(
            success=True, scope=scope, path=str(path), message=f"would {action} (dry run)", agents=agents
        )
    try:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(render_skill_md(skill_name=skill_name), encoding="utf-8")
    except OSError as e:
        return SkillResult(success=False, scope=scope, path=str(path), message=f"failed: {e!s}", agents=agents)
    return SkillResult(success=True, scope=scope, path=str(path), message=done, installed=True, agents=agents)


def install_skills(
    scope: str = "user",
    project_root: Path | None = None,
    *,
    agents: Iterable[str] = DEFAULT_AGENTS,
    force: bool = False,
    dry_run: bool = False,
) -> list[SkillResult]:
    """Install every embedded skill everywhere the given agents will find it.

    Real files are written into each resolved directory, not symlinks: Cursor
    only follows links whose target lives under ``.cursor``/``.claude``, VS Code
    rejects a linked skills directory as outside the workspace, and on Windows a
    junction inside a tracked tree cannot be committed and is a known hazard for
    destructive git operations.
    """
    plan = skill_dir_plan(agents, scope)
    return [
        install_skill(
            scope,
            project_root,
            force=force,
            dry_run=dry_run,
            skill_name=name,
            skills_dir=directory,
            agents=tuple(keys),
        )
        for directory, keys in plan.items()
        for name in SKILL_TEMPLATES
    ]


def _reading_agents(skills_dir: str, agent_roots: dict[str, tuple[str, ...]]) -> tuple[str, ...]:
    """Requested agents that read a directory (not just those it was chosen for)."""
    return tuple(key for key, roots in agent_roots.items() if skills_dir in roots)


def skill_status(
    project_root: Path | None = None,
    *,
    agents: Iterable[str] = DEFAULT_AGENTS,
) -> list[SkillResult]:
    """Installed skill versions across every directory these agents read.

    Reports the directories an install would write, plus any *other* directory an
    agent reads that already holds a skill. That second class is the interesting
    one: Cursor reads `~/.claude/skills`, so a copy installed there for Claude is
    live for Cursor too — listing only Cursor's own directory would report "not
    installed" for a skill the agent is loading right now, and invite a duplicate.
    """
    out: list[SkillResult] = []
    for scope in ("user", "project"):
        agent_roots = _agent_roots(agents, scope)
        targets = set(resolve_skill_dirs(agents, scope))
        all_roots = sorted({root for roots in agent_roots.values() for root in roots})
        for skills_dir in all_roots:
            for skill_name in SKILL_TEMPLATES:
                path = skill_target_path(scope, project_root, skill_name, skills_dir)
                version = _installed_version(path)
                if version is None and skills_dir not in targets:
                    continue
                if version:
                    newer = _version_tuple(version) < _version_tuple(__version__)
                    note = f"v{version!s}" + (f" (update available: v{__version__!s})" if newer else "")
                else:
                    note = "not installed"
                out.append(
                    SkillResult(
                        success=True,
                        scope=scope,
                        path=str(path),
                        message=note,
                        agents=_reading_agents(skills_dir, agent_roots),
                    )
                )
    return out


def shadowed_skills(
    project_root: Path | None = None,
    *,
    agents: Iterable[str] = DEFAULT_AGENTS,
) -> list[str]:
    """Skills an agent would load from user scope while a project copy also exists.

    Claude Code gives personal skills precedence over project ones, so a stale
    user-scope copy silently shadows the project copy this repo just installed —
    the project skill looks installed and never runs. Worth saying out loud.

    Shadowing is a property of an AGENT, not of a path: it happens whenever *any*
    directory an agent reads at user scope and *any* directory it reads at project
    scope both hold the same skill name. Windsurf and Copilot use different roots
    per scope (`~/.codeium/windsurf/skills` vs `.windsurf/skills`), and Cursor's
    user-scope read of `~/.claude/skills` collides with its project-scope
    `.cursor/skills` — so comparing directory names finds none of those.
    """
    keys = list(dict.fromkeys(agents))
    roots = {scope: _agent_roots(keys, scope) for scope in ("user", "project")}

    def installed(agent: str, scope: str, skill_name: str) -> bool:
        return any(
            skill_target_path(scope, project_root, skill_name, skills_dir).exists()
            for skills_dir in roots[scope].get(agent, ())
        )

    return [
        skill_name
        for skill_name in SKILL_TEMPLATES
        if any(installed(agent, "user", skill_name) and installed(agent, "project", skill_name) for agent in keys)
    ]
