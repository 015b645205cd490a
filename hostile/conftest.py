"""What the hostile tests share: directories of their own, an effort, and the figures that a run counts."""

import os
from collections.abc import Callable
from pathlib import Path

import pytest

from own_places import home, project

__all__ = ["home", "project"]
FIGURES = pytest.StashKey[list[str]]()
Figure = Callable[[int, str], None]


@pytest.fixture(scope="session")
def effort() -> float:
    """How many times as much as in CI is to be tried."""
    return float(os.environ.get("HOSTILE_EFFORT", "1"))


@pytest.fixture(autouse=True)
def root(tmp_path: Path) -> Path:
    """The directory that home and project lie in."""
    return tmp_path


@pytest.fixture
def figure(request: pytest.FixtureRequest) -> Figure:
    """Note a line of the table in docs/reliability.md, as this run has counted it."""
    figures = request.config.stash.setdefault(FIGURES, [])
    return lambda row, text: figures.append(f"{row:3}  {text}")


def pytest_terminal_summary(terminalreporter: pytest.TerminalReporter, config: pytest.Config) -> None:
    terminalreporter.section("figures, by rows of docs/reliability.md")
    for line in sorted(config.stash.get(FIGURES, [])):
        terminalreporter.write_line(line)
