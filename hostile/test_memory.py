"""Running out of memory at every allocation of every function and of the import, once or permanently."""

import _imp
import _testcapi
import importlib.util
import itertools
import os
import re
import shutil
import sys
from collections.abc import Callable, Iterator
from functools import partial
from pathlib import Path
from types import ModuleType
from typing import Any, NamedTuple

import pytest

import shim
from children import answers
from conftest import Judge
from fresh_module import NAME, fresh_module
from muvad_tarnel.setup import skill
from scenarios import ON_FILES, OTHERS, Scenario, outcome, prepare, torn, tree

IN_A_ROW = 8  # successes that end a sweep; fewer may be failures that were recovered from
RAN_OUT = "MemoryError"
GROUPS = {name: {name: scenario} for name, scenario in ON_FILES.items()}
GROUPS |= {"other functions and errors": OTHERS, "first calls": ON_FILES}


class Point(NamedTuple):
    """The first allocation that fails, how many fail, and whose: the interpreter's or the C++ code's."""

    first: int
    times: int
    owner: str


NEVER = Point(0, 0, "C++")


def starving(call: Callable[[], Any], point: Point) -> Any:
    """The call's result or error. Kept short: CPython loops if it can't allocate the int of an instruction's offset."""
    if point.owner == "C++":
        shim.starve(point.first, point.times)
    else:
        _testcapi.set_nomemory(point.first, point.first + 1 if point.times == 1 else 0)
    try:
        result = call()
    except BaseException as error:  # noqa: BLE001  # including unexpected ones
        _testcapi.remove_mem_hooks()
        shim.starve(0, 0)
        return error
    _testcapi.remove_mem_hooks()
    shim.starve(0, 0)
    return result


def sweep(task: Callable[[Point], list[str]]) -> Iterator[tuple[Point, Any]]:
    """The problems at each point, until no allocation is left to fail."""
    for owner, times in itertools.product(("interpreter", "C++"), (1, shim.FOR_EVER)):
        successes = 0
        for point, met in answers(task, (Point(first, times, owner) for first in itertools.count())):
            yield point, met
            successes = 0 if met else successes + 1
            if successes == IN_A_ROW:
                break


def judge_all(judge: Judge, subject: str, tried: list[tuple[Point, Any]]) -> None:
    ran_out = sum(met == [RAN_OUT] for _, met in tried)
    torn_files = sum("torn" in met for _, met in tried)
    judge(1, subject, [(p, met != [RAN_OUT] and met) for p, met in tried], MemoryErrors=ran_out, torn_files=torn_files)
    assert ran_out


def run(module: ModuleType, scenario: Scenario, root: Path, point: Point) -> tuple[Any, str, dict[str, Any]]:
    """What the call returns or raises, its description independent of the root, and the files."""
    prepare(root, scenario.files)
    result = starving(scenario.bound(module, root), point)
    return result, repr(outcome(lambda: result)).replace(str(root), "ROOT"), tree(root)


def calls(scenario: Scenario, root: Path, *, is_first: bool) -> Callable[[Point], list[str]]:
    """A task that makes the scenario's call, and repeats it once memory is available again."""
    module = fresh_module(skill.__file__)
    expected = run(skill if is_first else module, scenario, root, NEVER)[1:]

    def task(point: Point) -> list[str]:
        own_root = root / str(os.getpid())
        result, told, files = run(module, scenario, own_root, point)
        met = [RAN_OUT] if isinstance(result, MemoryError) else [told] * ((told, files) != expected)
        met += ["torn"] * len(torn(files, scenario.files))
        met += ["no longer works"] * (run(module, scenario, own_root, NEVER)[1:] != expected)
        shutil.rmtree(own_root)
        return met

    return task


@pytest.mark.parametrize("group", GROUPS)
def test_rows_1_and_2_of_calls(group: str, root: Path, judge: Judge, effort: float) -> None:
    is_first = group == "first calls"
    scenarios = list(GROUPS[group].values())
    if is_first and effort <= 1:
        del scenarios[1:]  # first calls differ little
    tasks = [calls(scenario, root, is_first=is_first) for scenario in scenarios]
    judge_all(judge, group, [found for task in tasks for found in sweep(task)])


def made_of_c(monkeypatch: pytest.MonkeyPatch) -> None:
    """Replace all Python code that the import calls, because CPython 3.12.1 itself fails to run it without memory."""
    pattern = skill._VERSION_RE
    holder = type("Holder", (), {pattern.pattern: pattern})
    stands_for: dict[str, dict[str, object]] = {
        "re": {"compile": partial(getattr, holder), "MULTILINE": re.MULTILINE},
        "dataclasses": {"dataclass": partial({}.get, None)},  # returns the class
        "muvad_tarnel": {"__version__": skill.__version__},
    }
    for name, contents in stands_for.items():
        module = ModuleType(name)
        vars(module).update(contents)
        monkeypatch.setitem(sys.modules, name, module)


def test_row_1_of_the_import(root: Path, judge: Judge, monkeypatch: pytest.MonkeyPatch) -> None:
    spec = importlib.util.spec_from_file_location(NAME, shutil.copy(skill.__file__, root))  # not loaded before
    assert spec

    def load() -> ModuleType:
        module = _imp.create_dynamic(spec)
        _imp.exec_dynamic(module)
        return module

    def task(point: Point) -> list[str]:
        result = starving(load, point)
        met = [RAN_OUT] if isinstance(result, MemoryError) else [repr(result)] * isinstance(result, BaseException)
        works = load().resolve_skill_dirs(["claude"]) == [".claude/skills"]
        return met + ["no longer works"] * (not works)

    made_of_c(monkeypatch)
    judge_all(judge, "import", list(sweep(task)))
