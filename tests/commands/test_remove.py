"""`remove`: the directories that it accepts, and the agents that lose skills."""

from pathlib import Path

import pytest
from running import agents, answer, files, holding_all, put, run


@pytest.mark.parametrize(
    ("arguments", "left"),
    [
        (".claude/skills", "home"),
        (".claude/skills --scope user", "project"),
        ("~/.claude/skills .claude/skills", ""),
        ("../home/.claude/skills", "project"),
        (".cursor/skills", "home project"),
        ("", "project"),
        ("-C .", "home"),
        ("-C . --scope user", "project"),
    ],
)
def test_a_directory_tells_its_scope(home: Path, project: Path, arguments: str, left: str) -> None:
    put(home, ".claude/skills")
    put(project, ".claude/skills")
    put(home, ".cursor/skills", "current", "tarnel")
    removed = run("remove", *arguments.split())
    assert (removed.exit_code, "use --scope user" in removed.stdout) == (0, arguments == ".cursor/skills")
    assert [name for name, root in (("home", home), ("project", project)) if holding_all(root)] == left.split()


def test_the_current_directory_may_be_elsewhere(project: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    put(project, ".cursor/skills")
    (project / ".git").mkdir()
    (project / "src").mkdir()
    monkeypatch.chdir(project / "src")
    assert run("remove", ".cursor/skills").exit_code == 0
    assert files(project) == set()


def test_unknown_directories_are_usage_errors(home: Path) -> None:
    put(home, ".claude/skills")
    cases = {
        "": "must not be empty",
        ".claude/skill": f"installed in {home}/.claude/skills. Did you mean '.claude/skills'?",
        f"{home}/.claude/skills --scope project": "/.claude/skills'. For ~/.claude/skills, use --scope user.",
        ".codeium/windsurf/skills": ". For ~/.codeium/windsurf/skills, use --scope user.",
        ".claude/skills/tarnel/SKILL.md": "Did you mean '.claude/skills' with --skill tarnel?",
    }
    for arguments, said in cases.items():
        result = run("remove", *arguments.split(" "))
        assert (result.exit_code, said in result.stderr.replace("\n", " ")) == (2, True), result.stderr


def test_it_undoes_an_install(home: Path) -> None:
    for asked, who in (("warp droid augment zed kiro", "28 agents no longer find any"), ("cursor", "Cursor no longer")):
        run("install", *agents(*asked.split()))
        written = files(home)
        (hint,) = answer("remove")["advice"]
        assert (files(home), hint["reason"].partition(who)[0]) == (set(), "")
        run(*hint["command"][2:])
        assert files(home) == written
        run("remove")


def test_a_directory_out_of_reach_keeps_nothing_else(home: Path) -> None:
    put(home, ".kiro/skills")
    (home / ".claude").symlink_to(".claude")
    result = run("remove")
    assert (result.exit_code, holding_all(home)) == (1, set())
    assert "3 files removed, 3 copies kept.\nKiro no longer finds any skill at user scope.\n" in result.stdout
