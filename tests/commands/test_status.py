"""`status` and `shadowed`: the problems that they report, and the agents concerned."""

from pathlib import Path

import pytest
from running import agents, answer, put, run


@pytest.mark.parametrize(
    ("there", "asked", "code", "command"),
    [
        ("", "", 1, "install --scope user --agent claude"),
        ("project .cursor/skills current", "--agent cursor --scope user", 1, "install --scope user --agent cursor"),
        ("user .cursor/skills current, user .gemini/skills outdated", "--agent cursor", 0, ""),
        ("user .cursor/skills current, user .claude/skills foreign", "--agent cursor", 1, ""),
        ("user .cursor/skills current, user .agents/skills current", "", 0, "remove .cursor/skills --scope user"),
        ("user .claude/skills foreign", "--agent claude", 1, "install --scope user --agent claude"),
        ("user .kiro/skills foreign", "", 1, "install --scope user --agent claude"),
        ("project .claude/skills current tarnel", "", 1, "install --scope project --agent claude"),
        ("user .claude/skills current, user .kiro/hooks current", "", 0, "install --scope user --agent kiro"),
    ],
)
def test_check_and_hint(home: Path, project: Path, *, there: str, asked: str, code: int, command: str) -> None:
    for words in filter(None, there.split(", ")):
        scope, directory, *content = words.split()
        put(home if scope == "user" else project, directory, *content)
    said = answer("status", "--check", *asked.split(), exit_code=code)
    hints = [" ".join(hint["command"][2:]) for hint in said["advice"]]
    assert command in (hints or [""])
    assert ("be replaced" in str(said["advice"])) is there.startswith("user .claude/skills foreign")
    shown = run("status", *asked.split()).stdout
    assert ("update --force --scope user\n" in shown) is ("foreign" in there or "modified" in there)
    assert all(f"    to fix:  muvad-tarnel skill {hint}\n" in shown for hint in hints)


def test_home_as_the_project_is_shown_once_if_that_shows_all(home: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(home)
    put(home, ".agents/skills")
    assert list(answer("status")["roots"]) == ["user"]
    put(home, ".windsurf/skills")  # only read in projects
    assert "remove .windsurf/skills --scope project\n" in run("status").stdout


def test_finds_are_listed_by_agent(home: Path) -> None:
    for directory in (".claude/skills", ".gemini/skills", ".agents/skills"):
        put(home, directory)
    put(home, ".cursor/skills", "current", "tarnel-map")
    put(home, ".agents/skills", "modified", "tarnel")
    said = answer("status", "--scope", "user")
    finds = {(a["agent"], f["skill"]): len(f["paths"]) for a in said["agents"] for f in a["finds"]}
    assert (finds["claude", "tarnel-map"], finds["cursor", "tarnel-map"]) == (1, 3)
    assert len(said["results"]) == 10, "no missing copies, because no agent needs them"
    reason = "Gemini CLI and Warp find every skill in ~/.agents/skills too (tarnel is modified there);"
    assert reason in str(said["advice"])


@pytest.mark.parametrize(
    ("agent", "user", "other", "effect"),
    [
        ("claude", ".claude/skills", ".claude/skills", "user copy hides project copy"),
        ("windsurf", ".codeium/windsurf/skills", ".windsurf/skills", "not documented by the agent"),
    ],
)
def test_shadows(home: Path, project: Path, *, agent: str, user: str, other: str, effect: str) -> None:
    ask = ["shadowed", *agents(agent), "--check"]
    places = {"user": put(home, user), "project": put(project, other, "outdated", "tarnel")}
    (row,) = answer(*ask, exit_code=1)["results"]
    assert [row["user_path"], row["project_path"]] == list(map(str, places.values()))
    assert [found["effect"] for found in row["agents"]] == [effect]
    assert "to see:  muvad-tarnel skill shadowed\n" in run("status", *agents(agent)).stdout
    assert [agent in way["loses"] for way in row["ways_out"]] == [True, True]
    assert run(*row["ways_out"][0]["command"][2:]).exit_code == 0
    put(home, user, "foreign", "tarnel")
    (row,) = answer(*ask, exit_code=1)["results"]
    assert (row["user_state"], row["project_state"]) == ("foreign", "outdated")
    assert [(way["removes"], way["command"]) for way in row["ways_out"]] == [(row["user_path"], None)]


def test_equal_texts_and_one_file_are_no_shadow(home: Path, project: Path) -> None:
    put(home, ".claude/skills")
    put(project, ".agents/skills", "current, as Windows has it")
    assert run("shadowed", "--check").exit_code == 0
    shown = run("shadowed", "-v").stdout
    assert ("same text, no harm" in shown, "Cursor, OpenCode, Goose, " in shown) == (True, True), shown
    replacing = "    muvad-tarnel skill update --scope user --force\n"
    for kind, way_out in {"modified": replacing, "newer": "Upgrade this package, then run `update`"}.items():
        put(home, ".claude/skills", kind, "tarnel")
        shown = run("shadowed").stdout
        assert (way_out in shown, " --scope user --skill tarnel --force\n" in shown) == (True, True)
        assert ("replaced (newer)" in run("update", "--scope", "user", "--force").stdout) is (kind == "newer")
        assert run("shadowed", "--check").exit_code == 0
    (project / ".claude").symlink_to(home / ".claude")
    assert answer("shadowed", *agents("claude"), "--check")["results"] == []
