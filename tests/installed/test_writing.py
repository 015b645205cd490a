"""Changes are safe despite links, failures at any time and other installers: no text is lost."""

import os
import re
import subprocess
from collections.abc import Callable
from itertools import product
from pathlib import Path
from types import SimpleNamespace

import pytest
from running import COMMAND, agents, answer, copy_in, files, put, run, run_in_shell, text_of

from muvad_tarnel.installed import writing
from muvad_tarnel.installed.copies import read_directory
from muvad_tarnel.setup.skill import SKILL_TEMPLATES

PROJECT = ("--scope", "project")
MAP = ".claude/skills/tarnel-map/SKILL.md"
# The path of each obstacle, how to create it, and the reported problem.
OBSTACLES: dict[str, tuple[str, Callable[[Path], object], str]] = {
    "file for a directory": (".claude", Path.touch, "a file is in the way of a directory: move it away"),
    "directory for a file": (MAP, Path.mkdir, "a directory is in the way: move it away"),
    "pipe": (MAP, os.mkfifo, "not a regular file: move it away"),
    "dangling link": (".claude/skills", lambda path: path.symlink_to("nowhere"), "a dangling link to nowhere: remove"),
    "loop": (MAP, lambda path: path.symlink_to(path.name), ""),
    "too large": (MAP, lambda path: path.write_bytes(bytes(2**20 + 1)), "too large"),
    "not UTF-8": (MAP, lambda path: path.write_bytes(b"version: \xff\n"), "not valid UTF-8 (at byte 9): correct or"),
}


class TestLinks:
    @pytest.mark.parametrize("command", ["install", "install --force", "update --force", "remove"])
    @pytest.mark.parametrize("link", [".claude/skills/tarnel/SKILL.md", ".claude/skills/tarnel", ".claude"])
    @pytest.mark.parametrize("kind", ["foreign", "outdated", "missing"])
    def test_others_are_refused(self, project: Path, tmp_path: Path, *, command: str, link: str, kind: str) -> None:
        place, target = project / link, tmp_path / "elsewhere"
        inner = target / copy_in(project, ".claude/skills").relative_to(place)
        content = text_of(kind)
        inner.parent.mkdir(parents=True, exist_ok=True)
        if content is not None:
            inner.write_bytes(content)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.symlink_to(target)
        result = run(*command.split(), *PROJECT, "--quiet")
        assert (inner.read_bytes() if inner.exists() else None) == content
        assert files(target) <= {inner.relative_to(target).as_posix()}
        assert place.is_symlink()
        if command.startswith("install") or kind != "missing" or (command == "remove" and link != ".claude"):
            assert (result.exit_code, f"{place}: " in result.stderr, str(target) in result.stderr) == (1, True, True)
        run("remove", "--force", *PROJECT)
        assert (place.is_symlink(), inner.exists()) == (link == ".claude", content is not None)

    def test_one_to_another_file_is_refused(self, project: Path) -> None:
        (project / "README.md").write_text("mine")
        copy = put(project, ".claude/skills", "missing", "tarnel")
        copy.symlink_to(project / "README.md")
        said = run("status", *PROJECT, *agents("claude")).output
        assert [said.count(part) for part in (str(copy), "remove the link", "No agent finds")] == [1, 1, 1]
        kept = "--force to delete only the link" in run("remove", *PROJECT, "--dry-run").stderr
        assert (kept, run("install", *PROJECT, "--force").exit_code) == (True, 1)
        assert run("remove", *PROJECT, "--force", "--skill", "tarnel").exit_code == 0
        assert ((project / "README.md").read_text(), copy.is_symlink()) == ("mine", False)

    def test_one_out_of_the_repository_is_noted(self, home: Path, project: Path) -> None:
        (link := project / ".claude").symlink_to(home / ".claude")
        put(project, ".cursor/skills")
        for kind, command in product(("current", "outdated"), ("install", "status --check")):
            put(home, ".claude/skills", kind)
            result = run(*command.split(), *PROJECT)
            said = result.stderr.partition(": a link to")[0]
            expected = {"current": (0, f"note: {link}"), "outdated": (1, f"Error: {link}")}
            assert (result.exit_code, said) == expected[kind]
            assert ("skill remove .cursor/skills " in result.stdout) is (kind == "current")
        assert run("install", *PROJECT, *agents("windsurf")).stderr == "", "Windsurf doesn't read the link"

    def test_those_of_dotfile_managers_are_followed(self, home: Path, tmp_path: Path) -> None:
        actual = put(tmp_path, "dotfiles/skills", "outdated", "tarnel")
        link = put(home, ".claude/skills", "missing", "tarnel")
        link.symlink_to(actual)
        actual.chmod(0o640)
        assert run("install").exit_code == 0
        assert (actual.read_bytes(), link.is_symlink()) == (text_of("current"), True)
        assert actual.stat().st_mode & 0o777 == 0o640

    def test_linked_directories_hold_one_copy(self, home: Path) -> None:
        put(home, ".claude/skills", "outdated")
        (home / ".cursor").mkdir()
        (home / ".cursor/skills").symlink_to("../.claude/skills")
        assert len(answer("update")["results"]) == len(SKILL_TEMPLATES)
        for command in ("status --agent cursor", f"remove {home}/.cursor/skills -n"):
            shown = run(*command.split()).stdout
            assert re.search("claude/skills, same as .*/.cursor/skills +all .* Claude Code, Cursor, ", shown), shown
            assert "skills and " not in shown
        (row,) = answer("plan", *agents("claude", "cursor"))["results"]
        assert [served["why"] for served in row["serves"]] == ["its preferred directory"] * 2


class TestFailures:
    @pytest.mark.parametrize("obstacle", OBSTACLES)
    @pytest.mark.parametrize("dry", [[], ["-n"]], ids=["real", "dry"])
    def test_each_obstacle_is_one_line(self, home: Path, obstacle: str, dry: list[str]) -> None:
        where, make, problem = OBSTACLES[obstacle]
        place = home / where
        place.parent.mkdir(parents=True, exist_ok=True)
        make(place)
        result = run("install", *dry)
        (line,) = result.stderr.splitlines()
        assert line.startswith(f"Error: {place}: {problem}")
        assert (result.exit_code, "would fail (dry run).\n" in result.stdout) == (1, dry != [])
        others = {copy_in(home, ".claude/skills", name).is_file() for name in ("tarnel", "tarnel-wiki")}
        assert others == {not dry and where == MAP}

    def test_what_may_not_be_written_is_foreseen(self, home: Path, monkeypatch: pytest.MonkeyPatch) -> None:
        put(home, ".claude/skills", "outdated")
        monkeypatch.setattr(os, "access", lambda path, mode: not (mode & os.W_OK and str(path).startswith(str(home))))
        for command in ("plan", "install -n", "install", "update -n", "update", "remove"):
            result = run(*command.split())
            assert (result.exit_code, ": not writable: Permission denied: change its" in result.stderr) == (1, True)
        assert copy_in(home, ".claude/skills").read_bytes() == text_of("outdated")
        monkeypatch.setattr(os, "statvfs", lambda _: SimpleNamespace(f_flag=os.ST_RDONLY))
        (line,) = run("install", *agents("claude", "kiro")).stderr.splitlines()
        assert line.endswith(": Read-only file system: make the file system writable")

    @pytest.mark.parametrize("kind", ["outdated", "outdated, edited", "missing"])
    def test_a_limit_on_sizes_leaves_the_old_file(self, home: Path, kind: str) -> None:
        if kind != "missing":
            put(home, ".claude/skills", kind)
        before = set(home.rglob("*"))
        ran = run_in_shell("ulimit -f 1; $TARNEL skill install")
        assert ran.returncode == 1
        assert ran.stderr == f"Error: {home}/.claude/skills: File too large: raise the limit on the size of files\n"
        assert set(home.rglob("*")) == before
        assert kind == "missing" or copy_in(home, ".claude/skills").read_bytes() == text_of(kind)

    @pytest.mark.parametrize("moment", ["os.fsync = stop", "sys.meta_path[:] = [type('', (), {'find_spec': stop})]"])
    def test_ctrl_c_leaves_whole_files(self, home: Path, moment: str) -> None:
        put(home, ".claude/skills", "outdated")
        script = (
            "import os, sys; from muvad_tarnel.__main__ import main\n"
            "import signal; signal.signal(signal.SIGINT, signal.default_int_handler)  # ignored in the background\n"
            f"stop = lambda *_: os.kill(os.getpid(), signal.SIGINT); {moment}\n"
            "sys.argv[1:] = ['skill', 'install']; main()"
        )
        ran = subprocess.run([COMMAND[0], "-c", script], check=False, capture_output=True, text=True, timeout=60)
        assert (ran.returncode, "Traceback" in ran.stderr) == (130, False)
        assert (len(files(home)), copy_in(home, ".claude/skills").read_bytes()) == (3, text_of("outdated"))


class TestOthers:
    def test_an_installer_at_work_keeps_its_temporary_file(self, home: Path, monkeypatch: pytest.MonkeyPatch) -> None:
        folder = put(home, ".claude/skills", "outdated", "tarnel").parent
        copy = read_directory("user", home, ".claude/skills")[0]
        (folder / ".SKILL.md.1.tmp").symlink_to("SKILL.md")
        monkeypatch.setattr(os, "fsync", lambda _: writing.clean_up([copy]))
        writing.replace(copy)
        assert files(folder) == {"SKILL.md", ".SKILL.md.1.tmp"}
        writing.clean_up([copy])
        assert files(folder) == {"SKILL.md"}

    def test_installers_at_once_lose_nothing(self, home: Path) -> None:
        edited = put(home, ".claude/skills", "outdated, edited", "tarnel")
        edited.chmod(0o640)
        started = [subprocess.Popen([*COMMAND, "skill", "install", "--quiet"]) for _ in range(6)]
        assert [process.wait(60) for process in started] == [0] * 6
        assert (edited.read_bytes(), edited.stat().st_mode & 0o777) == (text_of("current"), 0o640)
        assert edited.with_name("SKILL.md.bak").read_bytes() == text_of("outdated, edited")
        assert len(files(home)) == len(SKILL_TEMPLATES) + 1

    def test_an_edit_after_the_reading_is_kept(self, home: Path, monkeypatch: pytest.MonkeyPatch) -> None:
        path = put(home, ".claude/skills", "outdated", "tarnel")
        copy = read_directory("user", home, ".claude/skills")[0]
        path.write_text("mine")
        with pytest.raises(OSError, match="changed"):
            writing.remove(copy, force=False)
        kept = writing.replace(copy)
        assert kept is not None
        assert (kept.read_text(), path.read_bytes()) == ("mine", text_of("current"))
        inode = path.stat().st_ino
        assert (writing.replace(copy), path.stat().st_ino) == (None, inode), "another installer got there first"
        path.write_text("mine again")
        current, link = text_of("current") or b"", os.link
        monkeypatch.setattr(os, "link", lambda *names, **how: (path.write_bytes(current), link(*names, **how)))
        assert writing.replace(copy) is None, "another installer got there before the backup"
        assert files(path.parent) == {"SKILL.md", "SKILL.md.bak"}

    def test_backups_are_never_written_over(self, home: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
        copy = put(home, ".claude/skills", "modified", "tarnel")
        copy.with_name("SKILL.md.bak").symlink_to(tmp_path / "nowhere")
        copy.with_name("SKILL.md.bak2").write_text("first")
        hard_link = tmp_path / "hard"
        hard_link.hardlink_to(copy)
        monkeypatch.setattr(os, "link", lambda *_, **__: (_ for _ in ()).throw(PermissionError()))
        result = run("install", "--force", "--quiet")
        assert str(copy.with_name("SKILL.md.bak3")) in result.stderr
        assert copy.with_name("SKILL.md.bak3").read_bytes() == hard_link.read_bytes() == text_of("modified")
        assert (copy.with_name("SKILL.md.bak2").read_text(), (tmp_path / "nowhere").exists()) == ("first", False)
