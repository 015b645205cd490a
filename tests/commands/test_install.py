"""`install` and `plan`: the directories that they choose, given the existing copies."""

from pathlib import Path

import pytest
from running import agents, answer, copy_in, files, holding_all, put, run

from muvad_tarnel.setup.skill import SKILL_TEMPLATES


@pytest.mark.parametrize(
    ("there", "asked", "scope", "written"),
    [
        ("", "cursor WINDSURF", "project", {".cursor/skills", ".windsurf/skills"}),
        ("", "claude cursor copilot windsurf", "project", {".claude/skills", ".windsurf/skills"}),
        (".claude/skills", "cursor", "user", set()),
        (".augment/skills", "codex", "user", {".agents/skills"}),
        # Amp finds the skills already, and would find them twice in the directories that Claude Code or Goose read.
        (".config/agents/skills", "copilot", "user", {".copilot/skills"}),
    ],
)
def test_copies_count(home: Path, project: Path, *, there: str, asked: str, scope: str, written: set[str]) -> None:
    root = home if scope == "user" else project
    if there:
        put(root, there)
    ask = ["--scope", scope, *agents(*asked.split())]
    planned = {row["directory"] for row in answer("plan", *ask)["results"] if row["writes"]}
    assert files(root) == ({f"{there}/{name}/SKILL.md" for name in SKILL_TEMPLATES} if there else set())
    said = answer("install", *ask)
    assert holding_all(root) - {there} == planned == written
    assert said["advice"] == []
    assert all(len(found["paths"]) == 1 for agent in said["agents"] for found in agent["finds"])


def test_each_skill_goes_beside_the_others(home: Path) -> None:
    put(home, ".agents/skills", "current", "tarnel")
    put(home, ".gemini/skills", "foreign", "tarnel-map")
    run("install", *agents("gemini"))
    assert holding_all(home) == {".agents/skills"}
    assert copy_in(home, ".gemini/skills", "tarnel-map").read_text() == "my own skill\n"


def test_copies_elsewhere_in_reach_are_updated(home: Path, project: Path) -> None:
    for root, directory in ((home, ".agents/skills"), (home, ".pi/agent/skills"), (project, ".cursor/skills")):
        put(root, directory, "outdated", "tarnel")
    assert "already finds" not in run("install", *agents("cursor")).stdout
    shown = run("status").stdout
    assert ("up to date: ~/.pi/agent/skills.\n" in shown, "up to date: .cursor/skills.\n" in shown) == (True, True)


def test_a_plan_gives_its_reasons(project: Path) -> None:
    for there, asked, said in (
        (".none/skills missing", "claude cursor", "shared, instead of its preferred one"),
        (".windsurf/skills current", "devin zed", "After the install, Windsurf and Devin find every skill in .agents"),
        (".windsurf/skills modified", "devin zed", "No removal is suggested for .windsurf/skills: modified."),
        (".windsurf/skills current", "devin kiro", "copies are there already\nDevin and Kiro would find"),
        (".claude/skills current", "droid", "instead of its preferred one, where others would find skills twice"),
        (".factory/skills current tarnel", "droid", "preferred one, where others would find skills twice"),
        (".factory/skills foreign", "droid", "instead of its preferred one, which holds another text"),
    ):
        put(project, *there.split())
        assert said in run("plan", *agents(*asked.split()), "--scope", "project").stdout
        assert answer("install", "-n", *agents(*asked.split()), "--scope", "project")["advice"] == []
