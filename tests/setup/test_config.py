"""The agent table keeps its own rules, follows the environment, and good plans come of it."""

from pathlib import Path, PurePosixPath

import pytest

from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, AGENTS, MOVES, resolved

ROOTS = {(key, scope): record.directories(scope) for key, record in resolved({}).items() for scope in SCOPES}


@pytest.mark.parametrize("row", ROOTS.values(), ids=map("-".join, ROOTS))
def test_a_row_is_well_formed(row: tuple[str, ...]) -> None:
    assert row, "every agent can be installed for at both scopes"
    assert len(set(row)) == len(row)
    for directory in row:
        path = PurePosixPath(directory)
        assert str(path) == directory, "no trailing or doubled slash"
        assert not path.is_absolute()
        assert not {"..", "~", "$"} & set("".join(path.parts)) - {"."}


@pytest.mark.parametrize(
    ("variable", "value", "agent", "directory"),
    [
        ("CLAUDE_CONFIG_DIR", "{home}/work/claude", "claude", "work/claude/skills"),
        ("CLAUDE_CONFIG_DIR", "/srv/claude/", "claude", "/srv/claude/skills"),
        ("CLAUDE_CONFIG_DIR", "{home}/.claude", "claude", ".claude/skills"),
        ("CLAUDE_CONFIG_DIR", "", "claude", ".claude/skills"),
        ("CLAUDE_CONFIG_DIR", "relative", "claude", ".claude/skills"),
        ("CLAUDE_CONFIG_DIR", "/srv", "cursor", ".cursor/skills"),
        ("PI_CODING_AGENT_DIR", "/srv", "pi", "/srv/skills"),
        ("XDG_CONFIG_HOME", "/srv", "amp", "/srv/agents/skills"),
        ("XDG_CONFIG_HOME", "{home}/cfg", "crush", "cfg/crush/skills"),
        ("XDG_CONFIG_HOME", "/srv", "devin", ".config/devin/skills"),
    ],
)
def test_the_environment_moves_directories(
    home: Path, *, variable: str, value: str, agent: str, directory: str
) -> None:
    table = resolved({variable: value.format(home=home)})
    assert table[agent].skills_user_roots[0] == directory
    moved = {key for key, record in AGENTS.items() if any(f"${variable}/" in row for row in record.skills_user_roots)}
    assert {key for key in table if table[key].directories("user") != ROOTS[key, "user"]} <= moved
    assert ".config/agents/skills" in table["goose"].skills_user_roots
    assert all(table[key].directories("project") == ROOTS[key, "project"] for key in table)


def test_every_variable_moves_something(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("HOME", "~nobody")
    for variable in MOVES:
        assert resolved({variable: "/srv"}) != resolved({})


@pytest.mark.parametrize(
    ("agents", "scope", "plan"),
    [
        ("cursor", "project", {".cursor/skills": "cursor"}),
        ("claude cursor", "project", {".claude/skills": "claude cursor"}),
        ("cursor windsurf", "project", {".cursor/skills": "cursor", ".windsurf/skills": "windsurf"}),
        (
            "claude cursor copilot windsurf",
            "user",
            {".claude/skills": "claude cursor", ".codeium/windsurf/skills": "windsurf", ".copilot/skills": "copilot"},
        ),
    ],
)
def test_agents_share_rather_than_see_a_skill_twice(agents: str, scope: str, plan: dict[str, str]) -> None:
    chosen = skill.skill_dir_plan(agents.split(), scope)
    assert {directory: " ".join(readers) for directory, readers in chosen.items()} == plan
    assert set(AGENT_CONFIG) == set(skill.skill_capable_agents())
