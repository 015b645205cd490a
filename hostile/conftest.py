"""Fixtures of the hostile tests: temporary directories, the effort, and the figures that a run counts."""

import os
from collections import Counter
from collections.abc import Iterable
from pathlib import Path
from typing import Any, Protocol

import pytest
from own_places import home, project

from children import Ended

__all__ = ["home", "project"]
FIGURES = pytest.StashKey[dict[tuple[int, str], Counter[str]]]()


@pytest.fixture(scope="session")
def effort() -> float:
    """The number of attempts as a multiple of CI's."""
    return float(os.environ.get("HOSTILE_EFFORT", "1"))


@pytest.fixture
def root(tmp_path: Path) -> Path:
    """The directory that contains home and project."""
    return tmp_path


class Figure(Protocol):
    """Adds up counts for a row of the table in docs/reliability.md, separately for each subject."""

    def __call__(self, row: int, subject: str = "", /, **counts: int) -> None: ...


@pytest.fixture
def figure(request: pytest.FixtureRequest) -> Figure:
    """A function that adds to the figures that the run prints."""
    figures = request.config.stash.setdefault(FIGURES, {})

    def add(row: int, subject: str = "", /, **counts: int) -> None:
        figures.setdefault((row, subject), Counter())
        for name, count in counts.items():
            figures[row, subject][name] += count

    return add


class Judge(Protocol):
    """Takes the points of an experiment with their problems, falsy if none. Adds to the figures, and checks them."""

    def __call__(self, row: int, subject: str, tried: Iterable[tuple[Any, object]], /, **counts: int) -> None: ...


@pytest.fixture
def judge(figure: Figure) -> Judge:
    """A function that fails if a point had a problem, or if there are no points."""

    def add(row: int, subject: str, tried: Iterable[tuple[Any, object]], /, **counts: int) -> None:
        points = list(tried)
        bad = [(point, met) for point, met in points if met]
        ended = sum(isinstance(met, Ended) for _, met in bad)
        figure(row, subject, points=len(points), **counts, crashes_or_hangs=ended, other_faults=len(bad) - ended)
        assert points
        assert not bad

    return add


def pytest_terminal_summary(terminalreporter: pytest.TerminalReporter, config: pytest.Config) -> None:
    terminalreporter.section("figures, by rows of docs/reliability.md")
    for (row, subject), counts in sorted(config.stash.get(FIGURES, {}).items()):
        told = ", ".join(f"{count:,} {name.replace('_', ' ')}" for name, count in counts.items())
        terminalreporter.write_line(f"{row:3}  {subject}{': ' if subject else ''}{told}")
