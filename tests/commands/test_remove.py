"""`remove`: which directories are meant, and who loses what."""

import errno
import os
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest
from running import agents, answer, copy_in, files, holding_all, put, run


@pytest.mark.parametrize(
    ("arguments", "left"),
    [
        (".claude/skills", "home"),
        ("./.claude/skills/", "home"),
        (".claude/skills --scope user", "project"),
        (".claude/skills --scope project", "home"),
        ("{home}/.claude/skills", "project"),
        ("~/.claude/skills .claude/skills", ""),
        ("../home/.claude/skills", "project"),
        ("", "project"),
        ("-C .", "home"),
        ("-C . .claude/skills", "home"),
    ],
)
def test_a_directory_tells_its_scope(home: Path, project: Path, arguments: str, left: str) -> None:
    put(home, ".claude/skills")
    put(project, ".claude/skills")
    assert run("remove", *arguments.format(home=home).split()).exit_code == 0
    assert [name for name, root in (("home", home), ("project", project)) if holding_all(root)] == left.split()


def test_a_directory_may_be_relative_to_the_project(home: Path, project: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    put(project, ".cursor/skills")
    monkeypatch.chdir(home)
    assert run("remove", "-C", str(project), ".cursor/skills", "--skill", "tarnel").exit_code == 0
    (project / ".git").mkdir()
    (project / "src").mkdir()
    monkeypatch.chdir(project / "src")
    assert run("remove", ".cursor/skills").exit_code == 0
    assert files(project) == set()


def test_unknown_directories_are_usage_errors(home: Path) -> None:
    put(home, ".claude/skills")
    for directory, expected in [
        ("", "must not be empty"),
        ("src", f"expected one of {home}/.claude/skills"),
        (".claude/skill", "Did you mean '.claude/skills'?"),
        (".claude/skills/tarnel", "Did you mean '.claude/skills --skill tarnel'?"),
    ]:
        result = run("remove", directory)
        assert (result.exit_code, expected in result.stderr.replace("\n", " ")) == (2, True), result.stderr


def test_a_directory_that_holds_more_stays(home: Path) -> None:
    put(home, ".claude/skills")
    (home / ".claude/skills/tarnel/notes.txt").touch()
    assert run("remove", "--skill", "tarnel", "--skill", "tarnel-map").exit_code == 0
    assert files(home) == {".claude/skills/tarnel/notes.txt", ".claude/skills/tarnel-wiki/SKILL.md"}


def test_it_undoes_an_install(home: Path, project: Path) -> None:
    run("install", "--all-agents", "--scope", "project")
    put(home, ".claude/skills")
    assert run("remove", "--scope", "project").exit_code == 0
    assert files(project) == set()
    assert run("remove", "--scope", "project").stdout == "Nothing to remove at project scope.\n"
    assert holding_all(home) == {".claude/skills"}


def test_it_says_who_finds_a_skill_no_more(home: Path) -> None:
    put(home, ".kiro/skills")
    put(home, ".claude/skills", "current", "tarnel")
    (home / ".cursor/settings").mkdir(parents=True)
    shown = run("remove").stdout
    assert "Kiro no longer finds any skill at user scope." in shown
    assert "Claude Code and Cursor no longer find tarnel at user scope." in shown
    assert "Amp" not in shown.partition("3 files")[2]
    assert "to install again:  muvad-tarnel skill install --scope user --agent claude --agent kiro\n" in shown


def test_an_unreadable_neighbour_keeps_nothing_else(home: Path) -> None:
    put(home, ".claude/skills", "unreadable", "tarnel")
    put(home, ".claude/skills", "current", "tarnel-map", "tarnel-wiki")
    said = answer("remove", exit_code=1)
    assert [row["action"] for row in said["results"]] == ["failed", "remove", "remove"]
    assert [error["path"] for error in said["errors"]] == [str(copy_in(home, ".claude/skills"))]
    assert run("install", *agents("claude")).exit_code == 1


def test_a_closed_directory_keeps_nothing_else(home: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    closed = put(home, ".claude/skills").parents[1]
    put(home, ".kiro/skills")

    def refusing(function: Callable[..., Any]) -> Callable[..., Any]:
        def refuse(path: Any, *arguments: Any, **options: Any) -> Any:
            if str(path).startswith(f"{closed}/"):
                raise PermissionError(errno.EACCES, "Permission denied", str(path))
            return function(path, *arguments, **options)

        return refuse

    for name in ("stat", "lstat"):
        monkeypatch.setattr(os, name, refusing(getattr(os, name)))
    result = run("remove")
    monkeypatch.undo()
    assert (result.exit_code, holding_all(home)) == (1, {".claude/skills"})
    assert result.stderr == f"Error: {closed}: Permission denied: change its permissions\n"
