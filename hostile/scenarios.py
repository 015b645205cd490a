"""The calls that the module and its plain-Python twin run under faults."""

import os
import shutil
from collections.abc import Callable, Mapping
from dataclasses import dataclass, field
from functools import partial
from pathlib import Path
from types import ModuleType
from typing import Any

from muvad_tarnel.setup.config import AGENT_CONFIG
from muvad_tarnel.setup.skill import SKILL_TEMPLATES, render_skill_md
from recording import account

PLACES = [f"{scope}/.claude/skills/{name}/SKILL.md" for scope in ("home", "project") for name in SKILL_TEMPLATES]
NAMES = [Path(place).parent.name for place in PLACES]
CURRENT = {place: render_skill_md(skill_name=name).encode() for place, name in zip(PLACES, NAMES, strict=True)}
OUTDATED = {place: render_skill_md("0.0.1", name).encode() for place, name in zip(PLACES, NAMES, strict=True)}
FRESH: dict[str, bytes] = {}
NOT_UTF_8 = {PLACES[3]: b"version: 1.0\n\xff"}
BLOCKED = {"project/.claude": b"a file in the way"}
ROOT = object()  # stands for the project's root among arguments


@dataclass(frozen=True)
class Scenario:
    """A function call, and the files that exist before it."""

    files: Mapping[str, bytes]
    function: str
    arguments: tuple[Any, ...] = ()
    keywords: Mapping[str, Any] = field(default_factory=dict)

    def bound(self, module: ModuleType, root: Path) -> Callable[[], Any]:
        """The call as a partial, which runs no Python code of its own. `{root}` in texts stands for the root."""

        def fill(value: Any) -> Any:
            return value.replace("{root}", str(root)) if isinstance(value, str) else value

        arguments = [root / "project" if argument is ROOT else fill(argument) for argument in self.arguments]
        keywords = {name: fill(value) for name, value in self.keywords.items()}
        return partial(getattr(module, self.function), *arguments, **keywords)


# Scenarios that access files.
ON_FILES = {
    "install fresh": Scenario(FRESH, "install_skills", ("project", ROOT)),
    "install fresh for the user": Scenario(FRESH, "install_skills"),
    "update": Scenario(OUTDATED, "install_skills", ("project", ROOT)),
    "install up to date": Scenario(CURRENT, "install_skills", ("project", ROOT)),
    "install forced": Scenario(CURRENT, "install_skills", ("project", ROOT), {"force": True}),
    "status of nothing": Scenario(FRESH, "skill_status", (ROOT,)),
    "status": Scenario(OUTDATED, "skill_status", (ROOT,)),
    "shadowed": Scenario(CURRENT, "shadowed_skills", (ROOT,)),
}
# Further scenarios for running out of memory; some end in an error.
_ROOTS = {"a": ("x", "y"), "b": ("y",)}
OTHERS = {
    "dry run": Scenario(OUTDATED, "install_skills", ("project", ROOT), {"dry_run": True}),
    "install one": Scenario(FRESH, "install_skill", ("project", ROOT)),
    "version": Scenario(CURRENT, "_installed_version", (Path("../home/.claude/skills/tarnel/SKILL.md"),)),
    "version of nothing": Scenario(FRESH, "_installed_version", (Path("nowhere"),)),
    "version in no UTF-8": Scenario(NOT_UTF_8, "_installed_version", (Path("..", PLACES[3]),)),
    "install over no UTF-8": Scenario(NOT_UTF_8, "install_skills", ("project", ROOT)),
    "render": Scenario(FRESH, "render_skill_md", ("1.2",)),
    "capable agents": Scenario(FRESH, "skill_capable_agents"),
    "roots": Scenario(FRESH, "_agent_roots", (("claude", "cursor", "nobody"), "user")),
    "score": Scenario(FRESH, "_score", (("x",), _ROOTS)),
    "directories": Scenario(FRESH, "resolve_skill_dirs", (("claude", "cursor", "windsurf", "copilot"),)),
    "greedy directories": Scenario(FRESH, "resolve_skill_dirs", (tuple(AGENT_CONFIG),)),
    "plan": Scenario(FRESH, "skill_dir_plan", (("claude", "cursor", "windsurf", "copilot"),)),
    "version key": Scenario(FRESH, "_version_tuple", ("1.10.rc2",)),
    "base": Scenario(FRESH, "_scope_base", ("user",)),
    "target": Scenario(FRESH, "skill_target_path", ("user",)),
    "readers": Scenario(FRESH, "_reading_agents", ("y", _ROOTS)),
    "result": Scenario(FRESH, "SkillResult", (True, "user", "path", "message")),
    "install blocked": Scenario(BLOCKED, "install_skills", ("project", ROOT)),
    "unknown scope": Scenario(FRESH, "skill_target_path", ("nowhere",)),
    "unknown skill": Scenario(FRESH, "render_skill_md", (), {"skill_name": "none"}),
    "missing argument": Scenario(FRESH, "_score", (("x",),)),
    "wrong types": Scenario(FRESH, "_score", (("x",), {"a": 3})),
}


def prepare(root: Path, files: Mapping[str, bytes]) -> None:
    """Recreate home and project, and change to the project."""
    shutil.rmtree(root, ignore_errors=True)
    for place in ("home", "project"):
        (root / place).mkdir(parents=True)
    for name, content in files.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
    os.environ["HOME"] = str(root / "home")
    os.chdir(root / "project")


def tree(root: Path) -> dict[str, bytes | str | None]:
    """Everything below a directory: files with their bytes, links with their targets."""
    return {
        path.relative_to(root).as_posix(): str(path.readlink())
        if path.is_symlink()
        else path.read_bytes()
        if path.is_file()
        else None
        for path in sorted(root.rglob("*"))
    }


def outcome(call: Callable[[], Any]) -> Any:
    """A comparable description of what the call returns or raises."""
    try:
        result = call()
    except Exception as error:  # noqa: BLE001  # any error is an outcome
        result = error
    return account(result), getattr(result, "errno", None), getattr(result, "filename", None)


def torn(files: Mapping[str, object], before: Mapping[str, bytes]) -> list[str]:
    """The copies that have neither their old content nor the current one."""
    return [place for place in PLACES if files.get(place) not in (before.get(place), CURRENT[place])]
