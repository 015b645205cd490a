"""A table of states: what every command reports about a copy, and does with it."""

from pathlib import Path

import pytest
from running import answer, copy_in, put, run, text_of

from muvad_tarnel import __version__
from muvad_tarnel.installed import copies
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.skill import SKILL_TEMPLATES

# kind: state, version, exit code of status --check, the actions of install, install --force, update and remove, and
# whether diff shows it. A star means that the old text is kept as a backup.
CASES = {
    "current": ("current", __version__, 0, "none", "none", "", "remove", False),
    "current, as Windows has it": ("current", __version__, 0, "none", "none", "", "remove", False),
    "outdated": ("outdated", "0.0.1", 1, "update", "update", "update", "remove", False),
    "outdated, edited": ("outdated", "0.0.1", 1, "update*", "update*", "update*", "kept", True),
    "newer": ("newer", "99.0", 0, "none", "replace", "", "kept", True),
    "modified": ("modified", __version__, 0, "none", "replace*", "", "kept", True),
    "incomplete": ("incomplete", __version__, 1, "update", "update", "update", "remove", False),
    "incomplete, empty": ("incomplete", None, 1, "update", "update", "update", "remove", False),
    "incomplete, cut in a character": ("incomplete", None, 1, "update", "update", "update", "remove", False),
    "incomplete, outdated": ("incomplete", "0.0.1", 1, "update", "update", "update", "remove", False),
    "foreign": ("foreign", None, 1, "replace*", "replace*", "", "kept", True),
    "unreadable": ("unreadable", None, 1, "failed", "failed", "none", "kept", False),
    "missing": ("missing", None, 1, "install", "install", "", "", False),
}


@pytest.fixture(params=CASES)
def kind(request: pytest.FixtureRequest, home: Path) -> str:
    put(home, ".claude/skills")
    put(home, ".claude/skills", request.param, "tarnel")
    return str(request.param)


def identity(path: Path) -> tuple[int, int] | None:
    return (path.stat().st_ino, path.stat().st_mtime_ns) if path.exists() else None


@pytest.mark.parametrize("dry", [["--dry-run"], []], ids=["dry", "real"])
@pytest.mark.parametrize(("command", "column"), [("install", 3), ("install --force", 4), ("update", 5)])
def test_install_and_update_do_what_is_needed(home: Path, kind: str, command: str, column: int, dry: list[str]) -> None:
    copy = copy_in(home, ".claude/skills")
    action = str(CASES[kind][column])
    before = identity(copy)
    result = answer(*command.split(), *dry, exit_code=int(action == "failed"))
    acted = {row["path"]: row for row in result["results"]}.get(str(copy), {"action": "", "kept": None})
    assert acted["action"] == action.rstrip("*")
    if dry and command == "install":
        planned = run("install", "-n")
        assert (run("plan").stderr, "diff --scope user" in planned.stdout) == (planned.stderr, kind == "modified")
    if dry or action in ("", "none", "failed"):
        assert identity(copy) == before
        assert not list(home.rglob("*.bak"))
        return
    assert copy.read_bytes() == text_of("current")
    backup = copy.with_name("SKILL.md.bak")
    assert acted["kept"] == (str(backup) if action.endswith("*") else None)
    assert (backup.read_bytes() if backup.exists() else None) == (text_of(kind) if action.endswith("*") else None)
    assert (f"note: backups left: {backup}\n" in run("remove", "-q").stderr) is action.endswith("*")


def test_remove_takes_what_is_ours(home: Path, kind: str) -> None:
    copy, action = copy_in(home, ".claude/skills"), CASES[kind][6]
    for options in (["--dry-run"], []):
        rows = answer("remove", *options, exit_code=int(action == "kept"))["results"]
        assert {row["skill"]: row["action"] for row in rows}.get("tarnel", "") == action.replace("kept", "failed")
        assert copy.parent.exists() is (action == "kept" or bool(options) or kind == "missing")
    assert {path.name for path in copy.parent.parent.iterdir()} == ({"tarnel"} if action != "remove" else set())
    forced = run("remove", "--force")
    assert (forced.exit_code, f"removed ({CASES[kind][0]})" in forced.stdout) == (0, action == "kept")
    assert not copy.exists()


def test_status_tells_the_state_and_diff_shows_what_could_be_replaced(home: Path, kind: str) -> None:
    state, version, code = CASES[kind][:3]
    first, *_ = answer(*["status", "--check", "--scope", "user", "--agent", "claude"], exit_code=code)["results"]
    assert (first["path"], first["state"], first["version"]) == (str(copy_in(home, ".claude/skills")), state, version)
    rows = answer("diff", exit_code=int(kind == "unreadable"))["results"]
    assert [row["path"] for row in rows] == [str(copy_in(home, ".claude/skills"))] * bool(CASES[kind][7])
    assert ("\\ No newline at end of file" in run("diff").stdout) is (kind == "outdated, edited")


def test_released_templates_are_known(monkeypatch: pytest.MonkeyPatch) -> None:
    for name, template in SKILL_TEMPLATES.items():
        monkeypatch.setitem(SKILL_TEMPLATES, name, template.replace("# ", "# A later edition of ", 1))
        released = template.replace("{version}", "0.0.1").encode()
        assert copies.judge(name, released) == (copies.State.OUTDATED, "0.0.1", True)


def test_a_local_version_is_known_as_current(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(copies, "__version__", "1.0+local")
    assert copies.judge("tarnel", skill.render_skill_md("1.0+local").encode())[0] is copies.State.CURRENT
