"""Fixtures that give each test an empty home directory and an empty current directory."""

import os
from pathlib import Path

import pytest

from muvad_tarnel.setup import config

# Use the default directories of the agent table, regardless of the environment variables that move them.
for variable in config.MOVES:
    os.environ.pop(variable, None)
config.AGENT_CONFIG.update(config.resolved({}))


@pytest.fixture(autouse=True)
def home(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """A temporary home directory, instead of the developer's own."""
    (path := tmp_path / "home").mkdir()
    monkeypatch.setenv("HOME", str(path))
    return path


@pytest.fixture(autouse=True)
def project(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """A temporary current directory, which is the project's root."""
    (path := tmp_path / "project").mkdir()
    monkeypatch.chdir(path)
    return path
