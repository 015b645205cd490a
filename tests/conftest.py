"""What every test stands on: a home and a current directory of its own, both empty."""

from pathlib import Path

import pytest


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
