"""Agents, scopes and roots, and mistakes in naming them."""

import re
from pathlib import Path

import pytest
from running import answer, files, holding_all, put, run, run_in_shell, run_process


@pytest.mark.parametrize(("make", "root"), [("mkdir", "inner"), ("touch", "inner"), ("true", "inner/deep/down")])
def test_the_project_is_found_upward(project: Path, monkeypatch: pytest.MonkeyPatch, make: str, root: str) -> None:
    current = project / "inner/deep/down"
    current.mkdir(parents=True)
    monkeypatch.chdir(current)
    run_in_shell(f"{make} {project}/inner/.git")
    result = run("install", "--scope", "project")
    assert holding_all(project / root) == {".claude/skills"}
    assert (str(project / root) in result.stderr) is (root == "inner")


def test_a_moved_directory_is_installed_into(home: Path, tmp_path: Path) -> None:
    for moved in (tmp_path / "away", home / "claude"):
        assert run_process("skill", "install", CLAUDE_CONFIG_DIR=str(moved)).returncode == 0
        assert holding_all(moved) == {"skills"}
        assert run_process("skill", "remove", str(moved / "skills"), CLAUDE_CONFIG_DIR=str(moved)).returncode == 0
        assert files(moved) == set()


def test_hints_name_the_project(tmp_path: Path) -> None:
    elsewhere = tmp_path / "else where"
    put(elsewhere, ".claude/skills", "outdated")
    (hint,) = answer("status", "-C", str(elsewhere))["advice"]
    assert hint["command"][2:] == ["update", "--scope", "project", "-C", str(elsewhere)]
    assert f"-C '{elsewhere}'" in run("status", "-C", str(elsewhere)).stdout


def test_agents_in_use_are_detected(home: Path) -> None:
    assert answer("install", "--detect", exit_code=1)["results"] == []
    in_use = [".cursor/settings", ".codeium/windsurf/memories"]
    for path in (*in_use, ".gemini/skills/x", ".agents/other", ".pi/agent/skills", ".deepagents/agent/skills"):
        (home / path).mkdir(parents=True)
    result = run("install", "--detect")
    assert result.stderr == "note: detected: Cursor, Windsurf\n"
    assert holding_all(home) == {".cursor/skills", ".codeium/windsurf/skills"}
    assert [row["key"] for row in answer("agents")["results"] if row["detected"]] == ["cursor", "windsurf"]


@pytest.mark.parametrize(
    ("arguments", "named"),
    [
        ("install --all-agents --agent claude", ["--agent", "--all-agents", "--detect"]),
        ("install --agent coursor", ["'coursor' is unknown. Did you mean 'cursor'?", "skill agents"]),
        ("uninstall", ["Did you mean 'remove'?"]),
        ("install Claude", ["Did you mean '--agent claude'?"]),
        ("install --agent claude,cursor", ["Repeat the option for each."]),
        ("shadowed --scope user", ["No such option '--scope'.\n"]),
    ],
)
def test_mistakes_are_named(home: Path, arguments: str, named: list[str]) -> None:
    result = run(*arguments.split())
    assert (result.exit_code, result.stdout) == (2, "")
    assert all(word in result.stderr.split("Error:")[1] for word in named), result.stderr
    assert list(home.iterdir()) == []


def test_a_forgotten_group_is_suggested() -> None:
    ran = run_process("install", "--scope", "project")
    assert (ran.returncode, "Did you mean 'skill install'?" in ran.stderr) == (2, True), ran.stderr
    assert "belongs to the host" in run_process("query", "--json").stderr


@pytest.mark.parametrize("command", ["install", "status", "remove"])
@pytest.mark.parametrize("value", ["", "relative", "~nobody", "/dev/null", f"/{'x' * 300}"])
def test_an_unusable_home_is_one_line(command: str, value: str) -> None:
    ran = run_process("skill", command, HOME=value)
    assert re.fullmatch("Error: .*: set HOME to your home directory\n1", f"{ran.stderr}{ran.returncode}")


def test_a_current_directory_that_is_gone(project: Path) -> None:
    project.rmdir()
    result = run("install", "--scope", "project")
    assert (result.exit_code, result.stdout, result.stderr.count("\n")) == (1, "", 1)
    assert "-C DIR" in result.stderr
    assert run("install").exit_code == 0, "the user's scope needs none"
