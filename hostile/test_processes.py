"""Memory, threads, interpreters, imports and the end: asked of child processes, since what is looked for may crash."""

import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

import plain_skill
from conftest import Figure
from muvad_tarnel.setup import skill

HERE = Path(__file__).parent
MOST_MEMORY = 1.02  # of what a cycle with the same imports takes


def told(program: str, *arguments: object, module: str | None = skill.__file__) -> str:
    """What a program of this folder prints; that it says nothing else, and ends well."""
    child = subprocess.run(
        [sys.executable, "-X", "faulthandler", "-W", "error", str(HERE / program), str(module), *map(str, arguments)],
        # Not in development mode: its memory allocator doesn't survive that several interpreters are made at once.
        env=os.environ | {"PYTHONPATH": os.pathsep.join(filter(None, sys.path)), "PYTHONDEVMODE": ""},
        capture_output=True,
        check=False,
        text=True,
        timeout=3600,
    )
    assert (child.stderr, child.returncode) == ("", 0)
    return child.stdout


def counted(program: str, *arguments: object) -> dict[str, int]:
    *complaints, counts = told(program, *arguments).splitlines()
    assert complaints == []
    figures: dict[str, int] = json.loads(counts)
    assert all(figures.values()), figures
    return figures


def counted_at_once(program: str, *questions: tuple[object, ...]) -> list[dict[str, int]]:
    with ThreadPoolExecutor(2) as pool:
        return list(pool.map(lambda question: counted(program, *question), questions))


def test_row_8_calls_leave_nothing_behind(figure: Figure, effort: float) -> None:
    slow_calls = round(1000 * min(effort, 10))
    fast, slow = counted_at_once("leaks.py", ("fast", 10_000), ("slow", slow_calls))
    figure(8, "fast paths", **fast)
    figure(8, "slow paths", **slow)


def test_row_9_threads_get_the_answers_of_plain_python(figure: Figure, effort: float) -> None:
    figure(9, **counted("threads.py", round(100 * effort)))


def test_row_11_eight_interpreters_at_once(figure: Figure) -> None:
    figure(11, "eight at once", **counted("interpreters.py", "eight"))


@pytest.mark.parametrize("kind", ["own", "shared"])
def test_row_11_interpreters_take_no_memory_with_them(kind: str, figure: Figure) -> None:
    module, control = counted_at_once("interpreters.py", (kind, "module", 200), (kind, "control", 200))
    assert module["growth"] <= control["growth"] * MOST_MEMORY
    figure(11, f"{kind} GIL", cycles=module["cycles"], bytes=module["growth"], bytes_of_control=control["growth"])


@pytest.mark.parametrize("question", ["imports", "failures"])
def test_row_12_imports(question: str, figure: Figure) -> None:
    figure(12, **counted("lifetimes.py", question))


def test_row_12_use_while_the_interpreter_ends_is_as_in_plain_python(figure: Figure) -> None:
    skill.install_skills("project")  # so that both update
    uses = told("lifetimes.py", "end")
    assert uses == told("lifetimes.py", "end", module=plain_skill.__file__)
    figure(12, uses_at_the_end=len(uses.splitlines()))
    assert uses.count("installed=True") > 3, "some were in time"


@pytest.mark.parametrize("call", ["stat", "mkdir", "open", "fstat", "read", "write", "close"])
def test_row_12_daemons_within_a_system_call_at_the_end(call: str, figure: Figure, effort: float) -> None:
    for _ in range(round(2 * effort)):
        figure(12, "ends with daemons", ends=1, **counted("lifetimes.py", "daemons", call))
