"""The command line as a person uses it: what it prints, what it writes and how it exits."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
from click.testing import CliRunner, Result

from muvad_tarnel import __version__
from muvad_tarnel.cli import command_line
from muvad_tarnel.setup.config import AGENT_CONFIG
from muvad_tarnel.setup.skill import SKILL_TEMPLATES


def run(*arguments: str) -> Result:
    return CliRunner().invoke(command_line, arguments)


def run_process(*arguments: str, **environment: str) -> subprocess.CompletedProcess[str]:
    command = [sys.executable, "-m", "muvad_tarnel", *arguments]
    return subprocess.run(
        command, check=False, capture_output=True, text=True, timeout=60, env=os.environ | environment
    )


def directories_written(root: Path) -> set[str]:
    """The skills directories below `root` in which every skill stands."""
    found = {document.parent.parent for document in root.rglob("SKILL.md")}
    return {
        directory.relative_to(root).as_posix()
        for directory in found
        if {path.name for path in directory.iterdir()} == set(SKILL_TEMPLATES)
    }


class TestInstalling:
    def test_a_second_run_finds_everything_up_to_date_unless_forced(self, home: Path) -> None:
        paths = [home / ".claude/skills" / name / "SKILL.md" for name in SKILL_TEMPLATES]
        for options, message in [
            ([], f"installed v{__version__}"),
            ([], f"already up to date (v{__version__})"),
            (["--force"], f"updated to v{__version__}"),
        ]:
            ran = run_process("skill", "install", *options)
            assert ran.returncode == 0, ran.stderr
            assert ran.stdout.splitlines() == [f"{message}  {path}  (Claude Code)" for path in paths]
        assert all(path.is_file() for path in paths)

    def test_a_dry_run_writes_nothing(self, home: Path, project: Path) -> None:
        result = run("skill", "install", "--scope", "project", "--all-agents", "--dry-run")
        assert result.exit_code == 0
        assert "would install" in result.stdout
        assert [*home.iterdir(), *project.iterdir()] == []

    def test_a_failure_is_told_and_the_other_skills_are_written_all_the_same(self, home: Path) -> None:
        skills = home / ".claude/skills"
        skills.mkdir(parents=True)
        (skills / "tarnel").write_text("in the way")
        result = run("skill", "install")
        assert (result.exit_code, result.stderr) == (1, "")
        assert [line.split()[0] for line in result.stdout.splitlines()] == ["failed:", "installed", "installed"]
        assert {path.parent.name for path in skills.rglob("SKILL.md")} == {"tarnel-map", "tarnel-wiki"}

    @pytest.mark.parametrize(
        ("options", "directories"),
        [
            (["--agent", "cursor", "--agent", "windsurf"], {".cursor/skills", ".windsurf/skills"}),
            (["--all-agents"], {".agents/skills", ".claude/skills"}),
        ],
    )
    def test_the_agents_decide_the_directories(self, tmp_path: Path, options: list[str], directories: set[str]) -> None:
        elsewhere = tmp_path / "elsewhere"
        elsewhere.mkdir()
        run("skill", "install", "--scope", "project", "--project", str(elsewhere), *options)
        assert directories_written(elsewhere) == directories

    @pytest.mark.parametrize(("git", "root"), [("folder", "inner"), ("file", "inner"), ("absent", "inner/deep/down")])
    def test_the_project_is_the_nearest_folder_upward_that_holds_git(
        self, project: Path, monkeypatch: pytest.MonkeyPatch, git: str, root: str
    ) -> None:
        current = project / "inner/deep/down"
        current.mkdir(parents=True)
        monkeypatch.chdir(current)
        if git == "file":
            (project / ".git").mkdir()
            (project / "inner/.git").touch()
        elif git == "folder":
            (project / "inner/.git").mkdir()
        shown = run("skill", "install", "--scope", "project", "--dry-run").stdout
        assert f"{project / root}/.claude/skills/tarnel/SKILL.md" in shown


class TestReporting:
    def test_status_tells_versions_and_readers_at_both_scopes(self, home: Path, tmp_path: Path) -> None:
        run("skill", "install")
        copy = home / ".claude/skills/tarnel/SKILL.md"
        copy.write_text("version: 0.0.1\n")
        shown = run("skill", "status", "--agent", "claude", "--agent", "cursor", "--project", str(tmp_path)).stdout
        assert f"user     v0.0.1 (update available: v{__version__})  {copy}  (Claude Code, Cursor)\n" in shown
        assert f"project  not installed  {tmp_path}/.claude/skills/tarnel/SKILL.md  (Claude Code, Cursor)\n" in shown

    def test_shadowed_names_the_skills_found_at_both_scopes(self, project: Path) -> None:
        shadowed = ["skill", "shadowed", "--agent", "cursor", "--project", str(project)]
        run("skill", "install", "--scope", "project", "--project", str(project), "--agent", "cursor")
        assert run(*shadowed).stdout == "no skill is shadowed\n"
        run("skill", "install")
        assert [line.split()[0] for line in run(*shadowed).stdout.splitlines()] == list(SKILL_TEMPLATES)

    def test_what_cannot_be_shown_of_a_file_name_is_replaced(self, home: Path) -> None:
        odd = str(home / "\udcff\N{EURO SIGN}\n\x1bend")
        ran = run_process("skill", "status", HOME=odd, PYTHONIOENCODING="latin-1")
        assert ran.returncode == 0, ran.stderr
        assert f"{home}/????end/.claude" in ran.stdout

    def test_the_version_is_the_package_version(self) -> None:
        assert run("--version").stdout == f"muvad-tarnel {__version__}\n"


class TestMistakesAndFaults:
    @pytest.mark.parametrize(
        ("arguments", "named"),
        [
            ("skill install --agent nobody", ["nobody", *AGENT_CONFIG]),
            ("skill install --all-agents --agent claude", ["--agent", "--all-agents"]),
            ("skill install --project .", ["--project", "--scope"]),
            ("skill status --project missing", ["missing"]),
        ],
    )
    def test_usage_errors_exit_2_and_name_what_is_wrong(self, home: Path, arguments: str, named: list[str]) -> None:
        result = run(*arguments.split())
        assert result.exit_code == 2
        assert all(word in result.stderr.split("Error:")[1] for word in named)
        assert list(home.iterdir()) == []

    @pytest.mark.parametrize(("unusable", "named"), [("~nobody", "home directory"), (f"/{'x' * 300}", "/xxx")])
    def test_a_home_that_cannot_be_used_is_told_in_one_line(self, unusable: str, named: str) -> None:
        ran = run_process("skill", "install", HOME=unusable)
        assert (ran.returncode, ran.stdout, ran.stderr.count("\n")) == (1, "", 1)
        assert named in ran.stderr

    def test_a_current_directory_that_is_gone_is_told_in_one_line(self, project: Path) -> None:
        project.rmdir()
        result = run("skill", "status")
        assert (result.exit_code, result.stdout, result.stderr.count("\n")) == (1, "", 1)
        assert "--project" in result.stderr

    @pytest.mark.parametrize("command", ["install", "status"])
    def test_a_copy_that_is_not_utf8_is_named(self, home: Path, command: str) -> None:
        copy = home / ".claude/skills/tarnel-wiki/SKILL.md"
        copy.parent.mkdir(parents=True)
        copy.write_bytes(b"version: \xff\n")
        result = run("skill", command)
        assert (result.exit_code, result.stdout, result.stderr.count("\n")) == (1, "", 1)
        assert str(copy) in result.stderr
