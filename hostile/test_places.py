"""Links, obstacles, odd names, and places where nothing can be read or written."""

import ctypes
import itertools
import os
import resource
import shutil
import stat
from collections.abc import Callable
from functools import partial
from pathlib import Path
from types import ModuleType
from typing import Any

import plain_skill
from children import answers
from conftest import Judge
from muvad_tarnel.setup import skill
from scenarios import CURRENT, ON_FILES, OUTDATED, ROOT, Scenario, outcome, prepare, tree
from test_kills import install_by_command

COMPONENTS = ["project/.claude", "project/.claude/skills", "project/.claude/skills/tarnel"]
COMPONENTS += ["project/.claude/skills/tarnel/SKILL.md"]
LINKS = ["nowhere", "nowhere/deeper", ".", "..", "SKILL.md", "tarnel", "/dev/null", "/proc/version"]
LINKS += ["{root}/outside", "{root}/outside/file", "{root}/nowhere", "{root}/project", "link39", "link40"]
NODES = [stat.S_IFREG, stat.S_IFDIR, stat.S_IFSOCK]
MODES = [0o000, 0o444, 0o555]
QUOTA = 500  # bytes that a file may have
NAMES = [
    "..",
    "../outside",
    "{root}",
    "/{root}/outside",
    "",
    ".",
    "~",
    "a\\b",
    "a\0",
    "\udcff",
    "\ud800",
    "n" * 255,
    "n" * 256,
    "é" * 127,
]
NAMES += ["n/" * 2040 + "n", "n/" * 2100, "/".join(["n" * 255] * 15)]
type Point = tuple[Scenario, str | None, str | int]  # a component, and what it becomes: a link, a node or a mode


def drop_privileges() -> None:
    """Have no capability to read and write whatever the modes of files say."""
    header, sets = (ctypes.c_uint32 * 2)(0x20080522, 0), (ctypes.c_uint32 * 6)()
    assert ctypes.CDLL(None).capget(header, sets) == 0
    for index in (0, 1):  # effective, permitted
        sets[index] &= ~(1 << 1 | 1 << 2)
    assert ctypes.CDLL(None).capset(header, sets) == 0


def hinder(root: Path, component: str, obstacle: str | int) -> None:
    """Put an obstacle in a component's place."""
    (root / "outside").mkdir()
    (root / "outside/file").write_bytes(b"version: 0.0.0")
    path = root / component
    path.with_name("link0").mkdir()
    for number in range(1, 42):
        path.with_name(f"link{number}").symlink_to(f"link{number - 1}")
    if obstacle == QUOTA:
        resource.setrlimit(resource.RLIMIT_FSIZE, (QUOTA, resource.RLIM_INFINITY))
    elif obstacle in MODES:
        path.chmod(int(obstacle))
    else:
        shutil.rmtree(path) if path.is_dir() else path.unlink()
        if obstacle in NODES:
            path.mkdir() if obstacle == stat.S_IFDIR else os.mknod(path, int(obstacle) | 0o600)
        else:
            path.symlink_to(str(obstacle).format(root=root))


def clear(root: Path) -> None:
    """Let everything be read and written again."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY,) * 2)
    for component in COMPONENTS:
        if (root / component).exists() and not (root / component).is_symlink():
            (root / component).chmod(0o755)


def met(point: Point, install: Callable[[Path], object] | ModuleType, root: Path) -> tuple[Any, dict[str, Any]]:
    """What comes of a function, or of the scenario in a module, where the component has become an obstacle."""
    scenario, component, obstacle = point
    shutil.rmtree(root, ignore_errors=True)
    prepare(root, scenario.files)
    if component:
        hinder(root, component, obstacle)
    call = scenario.bound(install, root) if isinstance(install, ModuleType) else partial(install, root)
    told = outcome(call)
    clear(root)
    return told, tree(root)


def test_row_14_places(root: Path, judge: Judge) -> None:
    def differs(point: Point) -> bool:
        own_root = root / str(os.getpid())
        drop_privileges()
        found, expected = (met(point, module, own_root) for module in (skill, plain_skill))
        return found != expected

    def harms(point: Point) -> bool:
        own_root = root / str(os.getpid())
        drop_privileges()
        _, before = met(point, str, own_root)
        _, after = met(point, install_by_command, own_root)
        written = {place for place in before.keys() | after.keys() if after.get(place, 0) != before.get(place, 0)}
        files = {place for place in written if isinstance(after.get(place, b""), bytes)}
        return any(place.startswith("outside") or after.get(place) not in CURRENT.values() for place in files)

    obstacles: list[tuple[str, str | int]] = list(itertools.product(COMPONENTS, [*LINKS, *NODES, *MODES, QUOTA]))
    scenarios = [scenario for scenario in ON_FILES.values() if scenario.files]
    points: list[Point] = [(scenario, *obstacle) for scenario in scenarios for obstacle in obstacles]
    for name, other in itertools.product(NAMES, ["tarnel", "\udcff"]):
        names = {"skills_dir": name, "skill_name": other}, {"skills_dir": other, "skill_name": name}
        points += [(Scenario(OUTDATED, "install_skill", ("project", ROOT), keywords), None, "") for keywords in names]
        points.append((Scenario(OUTDATED, "install_skill", ("project", name), {"skills_dir": other}), None, ""))
    judge(14, "the module", answers(differs, points))
    update = ON_FILES["update"]
    judge(14, "the command line", answers(harms, [(update, *obstacle) for obstacle in obstacles]))
