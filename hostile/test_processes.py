"""Leaks, interpreters, imports and shutdown: tested in child processes, which may crash."""

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


def told(*question: object, module: object = skill.__file__) -> list[str]:
    """The child's output. Checks that it prints no errors and exits successfully."""
    child = Path(__file__).with_name("child.py")
    run = subprocess.run(
        [sys.executable, "-X", "faulthandler", "-W", "error", child, *map(str, (module, *question))],
        # Not in development mode: its memory allocator can't handle creating several interpreters at once.
        env=os.environ | {"PYTHONPATH": os.pathsep.join(filter(None, sys.path)), "PYTHONDEVMODE": ""},
        capture_output=True,
        check=False,
        text=True,
        timeout=900,
    )
    assert (run.stderr, run.returncode) == ("", 0)
    return run.stdout.splitlines()


def counted(*question: object) -> dict[str, int]:
    *complaints, counts = told(*question)
    assert complaints == []
    figures: dict[str, int] = json.loads(counts)
    assert all(figures.values()), figures
    return figures


def counted_at_once(*questions: tuple[object, ...]) -> list[dict[str, int]]:
    with ThreadPoolExecutor(2) as pool:
        return list(pool.map(lambda question: counted(*question), questions))


def test_row_8_calls_leave_nothing_behind(figure: Figure, effort: float) -> None:
    ways = {"fast": 10_000, "slow": round(1000 * min(effort, 10))}
    for way, figures in zip(ways, counted_at_once(*(("leaks", *way) for way in ways.items())), strict=True):
        figure(8, f"{way} paths", **figures)


@pytest.mark.parametrize("kind", ["own", "shared"])
def test_row_11_interpreters_keep_no_more_than_what_they_import(kind: str, figure: Figure) -> None:
    module, control = counted_at_once(("memory", kind, "module", 200), ("memory", kind, "control", 200))
    assert module["bytes"] <= control["bytes"] * 1.02
    figure(11, f"{kind} GIL", **module, bytes_of_control=control["bytes"])


def test_rows_11_and_12(figure: Figure) -> None:
    figure(11, "eight at once", **counted("eight interpreters"))
    figure(12, **counted("imports"))
    skill.install_skills("project")
    uses = told("end")
    assert uses == told("end", module=plain_skill.__file__)
    assert sum("installed=True" in use for use in uses) > 1, "some were in time"
    figure(12, uses_at_the_end=len(uses))


@pytest.mark.parametrize("call", ["stat", "mkdir", "open", "fstat", "read", "write", "close"])
def test_row_12_daemons_within_a_system_call_at_the_end(call: str, figure: Figure, effort: float) -> None:
    for _ in range(round(2 * effort)):
        figure(12, "ends with daemons", ends=1, **counted("daemons", call))
