"""The agent table keeps its own rules, and good plans come of it."""

from dataclasses import FrozenInstanceError
from pathlib import PurePosixPath

import pytest

from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG

ROOTS = {
    (key, scope): row
    for key, record in AGENT_CONFIG.items()
    for scope, row in [("project", record.skills_project_roots), ("user", record.skills_user_roots)]
}


@pytest.mark.parametrize("row", ROOTS.values(), ids=map("-".join, ROOTS))
def test_a_row_names_relative_directories_in_one_spelling_and_each_once(row: tuple[str, ...]) -> None:
    assert row, "every agent can be installed for at both scopes"
    assert len(set(row)) == len(row)
    for directory in row:
        path = PurePosixPath(directory)
        assert str(path) == directory, "no trailing or doubled slash"
        assert not path.is_absolute()
        assert not {"..", "~"} & set(path.parts)
        assert "\\" not in directory


@pytest.mark.parametrize("scope", ["project", "user"])
def test_all_agents_together_leave_few_enough_directories_for_the_full_search(scope: str) -> None:
    candidates = {directory for key in AGENT_CONFIG for directory in ROOTS[key, scope]}
    assert len(candidates) <= skill._EXHAUSTIVE_SEARCH_LIMIT


def test_a_record_cannot_be_changed() -> None:
    with pytest.raises(FrozenInstanceError):
        AGENT_CONFIG["claude"].name = "Claude"  # type: ignore[misc]


@pytest.mark.parametrize(
    ("agents", "scope", "plan"),
    [
        ("cursor", "project", {".cursor/skills": "cursor"}),
        ("claude cursor", "project", {".claude/skills": "claude cursor"}),
        ("cursor windsurf", "project", {".cursor/skills": "cursor", ".windsurf/skills": "windsurf"}),
        (
            "claude cursor copilot windsurf",
            "project",
            {".claude/skills": "claude cursor copilot", ".windsurf/skills": "windsurf"},
        ),
        (
            "claude cursor copilot windsurf",
            "user",
            {
                ".claude/skills": "claude cursor",
                ".codeium/windsurf/skills": "windsurf",
                ".copilot/skills": "copilot",
            },
        ),
    ],
)
def test_agents_share_a_directory_rather_than_see_a_skill_twice(agents: str, scope: str, plan: dict[str, str]) -> None:
    chosen = skill.skill_dir_plan(agents.split(), scope)
    assert {directory: " ".join(readers) for directory, readers in chosen.items()} == plan
    assert skill.resolve_skill_dirs(agents.split(), scope) == list(plan)
