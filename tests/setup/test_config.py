"""The agent table follows its own rules and the environment variables that move directories."""

import re
from pathlib import Path, PurePosixPath

import pytest

from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup.config import AGENTS, resolved

ROOTS = {(key, scope): record.directories(scope) for key, record in resolved({}).items() for scope in SCOPES}


@pytest.mark.parametrize("row", ROOTS.values(), ids=map("-".join, ROOTS))
def test_a_row_is_well_formed(row: tuple[str, ...]) -> None:
    assert len(set(row)) == len(row) > 0, "every agent can be installed for at both scopes"
    for directory in row:
        assert str(PurePosixPath(directory)) == directory, "no trailing or doubled slash"
        assert not re.search(r"^/|\.\.|[~$]", directory)


@pytest.mark.parametrize(
    ("variable", "value", "agent", "directory"),
    [
        ("CLAUDE_CONFIG_DIR", "{home}/work/claude", "claude", "work/claude/skills"),
        ("CLAUDE_CONFIG_DIR", "/srv/claude/", "claude", "/srv/claude/skills"),
        ("CLAUDE_CONFIG_DIR", "{home}/../ada", "claude", "{home}/../ada/skills"),
        ("CLAUDE_CONFIG_DIR", "", "claude", ".claude/skills"),
        ("CLAUDE_CONFIG_DIR", "relative", "claude", ".claude/skills"),
        ("XDG_CONFIG_HOME", "/srv", "amp", "/srv/agents/skills"),
    ],
)
def test_variables_move_directories(home: Path, *, variable: str, value: str, agent: str, directory: str) -> None:
    table = resolved({variable: value.format(home=home)})
    assert table[agent].skills_user_roots[0] == directory.format(home=home)
    moved = {key for key, record in AGENTS.items() if any(f"${variable}/" in row for row in record.skills_user_roots)}
    assert {key for key in table if table[key].directories("user") != ROOTS[key, "user"]} <= moved
    assert ".config/agents/skills" in table["goose"].skills_user_roots
    assert all(table[key].directories("project") == ROOTS[key, "project"] for key in table)
