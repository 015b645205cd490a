"""A typed program that uses every public function: checked by mypy, and run, so that stub and module agree.

`assert_type` says what the type checker has to infer. A call that it has to refuse is marked as ignored, and an ignored
line without an error is an error in turn.
"""

import inspect
from collections.abc import Callable
from pathlib import Path
from typing import Any, assert_type

import pytest

from muvad_tarnel.setup import skill


def test_planning(project: Path) -> None:
    agents = assert_type(skill.skill_capable_agents(), list[str])
    directories = assert_type(skill.resolve_skill_dirs(agents), list[str])
    plan = assert_type(skill.skill_dir_plan(iter(agents[:1]), scope="user"), dict[str, list[str]])
    assert all(type(directory) is str for directory in directories)
    assert all(type(directory) is str and type(keys) is list for directory, keys in plan.items())
    # Any text that is not "user" stands for the project here, so any text is accepted.
    assert skill.resolve_skill_dirs(agents, "anything") == directories
    target = assert_type(skill.skill_target_path("project", project, "tarnel", directories[0]), Path)
    assert target.is_relative_to(project)


def test_installing(project: Path) -> None:
    one = assert_type(skill.install_skill("project", project, agents=("claude",), force=True), skill.SkillResult)
    many = assert_type(
        skill.install_skills("project", project, agents={"claude"}, dry_run=True), list[skill.SkillResult]
    )
    assert type(one) is skill.SkillResult
    assert type(many) is list
    assert type(assert_type(one.success, bool)) is bool
    assert type(assert_type(one.installed, bool)) is bool
    assert type(assert_type(one.scope, str)) is str
    assert type(assert_type(one.path, str)) is str
    assert type(assert_type(one.message, str)) is str
    assert type(assert_type(one.agents, tuple[str, ...])) is tuple


def test_looking(project: Path) -> None:
    skill.install_skills("project", project)
    status = assert_type(skill.skill_status(project, agents=("claude",)), list[skill.SkillResult])
    assert type(status) is list
    assert all(type(result) is skill.SkillResult for result in status)
    skill.install_skills("user")
    shadowed = assert_type(skill.shadowed_skills(project, agents=["claude"]), list[str])
    assert [type(name) for name in shadowed] == [str, str, str]


def test_documents() -> None:
    name: str = assert_type(skill.SKILL_DIR_NAME, str)
    text = assert_type(skill.render_skill_md("1.2.3", skill_name=name), str)
    assert type(text) is str
    templates = assert_type(skill.SKILL_TEMPLATES, dict[str, str])
    assert type(templates) is dict
    assert {skill.SKILL_DIR_NAME, skill.MAP_SKILL_DIR_NAME, skill.WIKI_SKILL_DIR_NAME} == set(templates)
    assert type(assert_type(skill.DEFAULT_AGENTS, tuple[str, ...])) is tuple


def test_calls_that_end_in_an_error_are_refused_by_the_type_checker(project: Path) -> None:
    with pytest.raises(ValueError, match="unknown skill scope"):
        skill.skill_target_path("global")  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="unknown skill scope"):
        skill.install_skill("global")  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="unknown skill scope"):
        skill.install_skills("global", project)  # type: ignore[arg-type]
    with pytest.raises(TypeError, match="positional"):
        skill.install_skill("user", None, True)  # type: ignore[call-arg]
    with pytest.raises(TypeError, match="unexpected keyword"):
        skill.shadowed_skills(scope="user")  # type: ignore[call-arg]
    with pytest.raises(TypeError, match="not iterable"):
        skill.skill_dir_plan(None)  # type: ignore[arg-type]
    with pytest.raises(TypeError, match="missing"):
        skill.SkillResult(success=True, scope="user", path="")  # type: ignore[call-arg]


def test_no_public_function_is_left_out() -> None:
    def is_public(value: object) -> bool:
        return inspect.isfunction(value) and value.__module__ == skill.__name__ and not value.__name__.startswith("_")

    functions: list[tuple[str, Callable[..., Any]]] = inspect.getmembers(skill, is_public)
    source = Path(__file__).read_text(encoding="utf-8")
    assert functions
    assert [name for name, _ in functions if f"skill.{name}(" not in source] == []
