"""Memory that runs out at every point of every function and of the import, once or for ever after."""

import _imp
import _testcapi
import importlib.util
import itertools
import os
import re
import shutil
import sys
from collections import Counter
from collections.abc import Callable, Iterable
from functools import partial
from pathlib import Path
from types import ModuleType
from typing import Any, NamedTuple

import pytest

import shim
from children import Ended, answers
from conftest import Figure
from fresh_module import NAME, fresh_module
from muvad_tarnel.setup import skill
from scenarios import ON_FILES, OTHERS, Scenario, outcome, prepare, torn, tree

IN_A_ROW = 8  # successes, after which no allocation is taken to be left: some failures are made up for
RAN_OUT = "MemoryErrors"
GROUPS = {name: {name: scenario} for name, scenario in ON_FILES.items()}
GROUPS |= {"other functions and errors": OTHERS, "first calls": ON_FILES}


class Point(NamedTuple):
    """The allocation that fails first, how many do, and whose: the interpreter's or those of the C++ code."""

    first: int
    times: int
    owner: str


NEVER = Point(0, 0, "C++")


def starving(call: Callable[[], Any], point: Point) -> Any:
    """What comes of the call. In few instructions, since CPython spins where it has no memory for a high number."""
    if point.owner == "C++":
        shim.starve(point.first, point.times)
    else:
        _testcapi.set_nomemory(point.first, point.first + 1 if point.times == 1 else 0)
    try:
        result = call()
    except BaseException as error:  # noqa: BLE001  # also what nobody expects
        _testcapi.remove_mem_hooks()
        shim.starve(0, 0)
        return error
    _testcapi.remove_mem_hooks()
    shim.starve(0, 0)
    return result


def told_of(result: Any, root: Path) -> str:
    """What can be told of a result or an error, wherever the root is."""

    def repeat() -> Any:
        if isinstance(result, BaseException):
            raise result
        return result

    return repr(outcome(repeat)).replace(str(root), "ROOT")


def sweep(figure: Figure, subject: str, tasks: Iterable[Callable[[Point], list[str]]]) -> None:
    """Try each point of each task, until there is no allocation left to fail. Tasks tell of what they meet."""
    counts = Counter[str]()
    problems = []
    for task, owner, times in itertools.product(tasks, ("interpreter", "C++"), (1, shim.FOR_EVER)):
        successes = 0
        for point, met in answers(task, (Point(first, times, owner) for first in itertools.count())):
            counts["points"] += 1
            counts.update([str(met).split()[0]] if isinstance(met, Ended) else met)
            successes = 0 if met else successes + 1
            if met not in ([], [RAN_OUT]):
                problems.append((point, met))
            if successes == IN_A_ROW:
                break
    known = {name: counts.pop(name, 0) for name in ("points", RAN_OUT, "killed", "hung", "torn files")}
    figure(1, subject, **known, other_problems=counts.total())
    assert known[RAN_OUT]
    assert not problems


def run(module: ModuleType, scenario: Scenario, root: Path, point: Point) -> tuple[Any, str, dict[str, Any]]:
    """What the call returns or raises, what can be told of that, and the files it leaves."""
    prepare(root, scenario.files)
    result = starving(scenario.bound(module, root), point)
    return result, told_of(result, root), tree(root)


def calls(scenario: Scenario, root: Path, *, is_first: bool) -> Callable[[Point], list[str]]:
    """Makes the call of the scenario, and once more when there is memory again."""
    module = fresh_module(skill.__file__)
    expected = run(skill if is_first else module, scenario, root, NEVER)[1:]

    def task(point: Point) -> list[str]:
        own_root = root / str(os.getpid())
        result, told, files = run(module, scenario, own_root, point)
        met = ["torn files"] * len(torn(files, scenario.files))
        if isinstance(result, MemoryError):
            met.append(RAN_OUT)
        elif (told, files) != expected:
            met.append(f"gave {told}")
        if run(module, scenario, own_root, NEVER)[1:] != expected:
            met.append("no longer works")
        shutil.rmtree(own_root)
        return met

    return task


@pytest.mark.parametrize("group", GROUPS)
def test_rows_1_and_2_of_calls(group: str, root: Path, figure: Figure, effort: float) -> None:
    is_first = group.startswith("first")
    scenarios = list(GROUPS[group].values())
    if is_first and effort <= 1:
        del scenarios[1:]  # most of it is the same for all
    sweep(figure, group, [calls(scenario, root, is_first=is_first) for scenario in scenarios])


def made_of_c(monkeypatch: pytest.MonkeyPatch) -> None:
    """Let nothing that the import calls be made of Python code, which CPython 3.12.1 itself fails to run."""
    pattern = skill._VERSION_RE
    holder = type("Holder", (), {pattern.pattern: pattern})
    stands_for: dict[str, dict[str, object]] = {
        "re": {"compile": partial(getattr, holder), "MULTILINE": re.MULTILINE},
        "dataclasses": {"dataclass": partial({}.get, None)},  # gives the class back
        "muvad_tarnel": {"__version__": skill.__version__},
    }
    for name, contents in stands_for.items():
        module = ModuleType(name)
        vars(module).update(contents)
        monkeypatch.setitem(sys.modules, name, module)


def test_row_1_of_the_import(root: Path, figure: Figure, monkeypatch: pytest.MonkeyPatch) -> None:
    file = shutil.copy(skill.__file__, root)  # which no process has loaded yet
    spec = importlib.util.spec_from_file_location(NAME, file)
    assert spec

    def load() -> ModuleType:
        module = _imp.create_dynamic(spec)
        _imp.exec_dynamic(module)
        return module

    def task(point: Point) -> list[str]:
        result = starving(load, point)
        met = [RAN_OUT] if isinstance(result, MemoryError) else []
        if not met and isinstance(result, BaseException):
            met.append(f"raised {result!r}")
        module = load()
        if module.resolve_skill_dirs(["claude"]) != [".claude/skills"]:
            met.append("no longer works")
        return met

    made_of_c(monkeypatch)
    sweep(figure, "import", [task])
