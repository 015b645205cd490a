"""A typed program that uses every public function: checked by mypy, and run, so that stub and module agree.

A call that the type checker has to refuse is marked as ignored, and an ignored line without an error is an error.
"""

from collections.abc import Callable
from pathlib import Path
from typing import assert_type

import pytest

from muvad_tarnel.setup import skill


def test_results_have_the_types_of_the_stub(project: Path) -> None:
    agents = assert_type(skill.skill_capable_agents(), list[str])
    directories = assert_type(skill.resolve_skill_dirs(agents, "any text that is not user"), list[str])
    plan = assert_type(skill.skill_dir_plan(dict.fromkeys(agents), scope="project"), dict[str, list[str]])
    assert [*plan] == directories
    target = assert_type(skill.skill_target_path("project", project, "tarnel", directories[0]), Path)
    assert target.is_relative_to(project)
    one = assert_type(skill.install_skill("project", project, agents=("claude",), force=True), skill.SkillResult)
    expected = skill.SkillResult(success=True, scope="project", path=one.path, message=one.message, installed=True)
    assert {name: type(value) for name, value in vars(one).items()} == {n: type(v) for n, v in vars(expected).items()}
    assert_type((one.success, one.scope, one.installed, one.agents), tuple[bool, str, bool, tuple[str, ...]])
    assert_type(skill.install_skills("user", project, agents={"claude"}, dry_run=True), list[skill.SkillResult])
    assert_type(skill.skill_status(project, agents=("claude",)), list[skill.SkillResult])
    assert_type(skill.shadowed_skills(project, agents=["claude"]), list[str])
    assert_type(skill.render_skill_md("1.2.3", skill_name=skill.SKILL_DIR_NAME), str)
    assert_type((skill.SKILL_TEMPLATES, skill.DEFAULT_AGENTS), tuple[dict[str, str], tuple[str, ...]])


def test_calls_that_end_in_an_error_are_refused_by_the_type_checker(project: Path) -> None:
    calls: list[Callable[[], object]] = [
        lambda: skill.skill_target_path("global"),  # type: ignore[arg-type]
        lambda: skill.install_skill("global"),  # type: ignore[arg-type]
        lambda: skill.install_skills("global", project),  # type: ignore[arg-type]
        lambda: skill.install_skill("user", None, True),  # type: ignore[call-arg]
        lambda: skill.shadowed_skills(scope="user"),  # type: ignore[call-arg]
        lambda: skill.skill_dir_plan(None),  # type: ignore[arg-type]
        lambda: skill.SkillResult(success=True, scope="user", path=""),  # type: ignore[call-arg]
    ]
    for call in calls:
        with pytest.raises((TypeError, ValueError)):
            call()
