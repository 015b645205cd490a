"""What every test stands on: a home and a current directory of its own, both empty."""

import os
from pathlib import Path

import pytest

from muvad_tarnel.setup import config

# The table of a machine on which no variable moves a directory, whoever runs the tests.
for variable in config.MOVES:
    os.environ.pop(variable, None)
config.AGENT_CONFIG.update(config.resolved({}))


@pytest.fixture(autouse=True)
def home(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """The user's home directory, which no test shares with the person who runs it."""
    path = tmp_path / "home"
    path.mkdir()
    monkeypatch.setenv("HOME", str(path))
    return path


@pytest.fixture(autouse=True)
def project(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """The current directory, a project's root."""
    path = tmp_path / "project"
    path.mkdir()
    monkeypatch.chdir(path)
    return path
