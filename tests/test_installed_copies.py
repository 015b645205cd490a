"""The command line's own reading of copies agrees with the module's, and stays with it."""

import ast
from pathlib import Path

import pytest
from hypothesis import HealthCheck, example, given, settings
from hypothesis import strategies as st

from command_line import put
from muvad_tarnel import __version__
from muvad_tarnel.installed.copies import State, read_copy
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.skill import SKILL_TEMPLATES, render_skill_md

SOURCE = Path(__file__).resolve().parents[1] / "src/muvad_tarnel"

LINES = st.sampled_from(
    [
        "version: 0.0.9",
        "version:\t0.1.0 ",
        "version: 0.1",
        "version: 0.1.0rc1",
        "version: 00.1.0-x_y",
        "version: \u0664.1",
        "version: 1..2",
        "version:",
        "version: v1",
        " version: 1",
        "9.9",
        "---",
        "x" * 1990,
    ]
)


@settings(suppress_health_check=[HealthCheck.function_scoped_fixture], deadline=None)
@given(st.lists(LINES, max_size=4), st.sampled_from(["\n", "\r\n", "\r"]), st.sampled_from(["", "\ufeff"]))
@example([render_skill_md("0.0.1")], "\n", "")
@example(["x" * 1985, "version: 1"], "\r\n", "\ufeff")
@example(["x" * 1985, "version: 1.23456"], "\n", "")  # the stamp is cut where the reading ends
@example(["version:", "3.1"], "\r\n", "")
def test_stamps_are_read_as_the_module_reads_them(home: Path, lines: list[str], end: str, mark: str) -> None:
    path = put(home, ".claude/skills", (mark + end.join(lines)).encode(), "tarnel")
    copy = read_copy("user", None, "tarnel", ".claude/skills")
    told = next(result for result in skill.skill_status(agents=("claude",)) if result.path == str(path))
    is_outdated = copy.state is State.OUTDATED
    note = f"v{copy.version}" + f" (update available: v{__version__})" * is_outdated
    assert told.message == (note if copy.version else "not installed")
    assert copy.state in ({State.UNSTAMPED} if copy.version is None else set(State) - {State.UNSTAMPED})
    foreseen = skill.install_skill(dry_run=True).message
    assert foreseen.startswith("already up to date") is (copy.version is not None and not is_outdated)


@pytest.mark.parametrize("name", SKILL_TEMPLATES)
@pytest.mark.parametrize("version", ["0.0.1", __version__, "7.0rc1"])
def test_a_document_of_this_package_is_known_as_such_at_any_version(home: Path, name: str, version: str) -> None:
    text = render_skill_md(version, name)
    for content, is_ours in [
        (text, True),
        ("\ufeff" + text.replace("\n", "\r\n"), True),
        (text + "\n", False),
        (text.replace("muvad", "Muvad", 1), False),
        (render_skill_md(version, next(other for other in SKILL_TEMPLATES if other != name)), False),
    ]:
        put(home, ".claude/skills", content, name)
        copy = read_copy("user", None, name, ".claude/skills")
        assert (copy.version, copy.is_ours, copy.difference == "") == (version, is_ours, is_ours)


@pytest.mark.parametrize("path", sorted(SOURCE.rglob("*.py")), ids=lambda path: path.relative_to(SOURCE).as_posix())
def test_the_command_line_uses_no_name_that_the_module_keeps_to_itself(path: Path) -> None:
    private = [
        node.attr
        for node in ast.walk(ast.parse(path.read_text()))
        if isinstance(node, ast.Attribute)
        and isinstance(node.value, ast.Name)
        and node.value.id == "skill"
        and node.attr.startswith("_")
    ]
    assert private == []


def test_what_is_installed_is_gathered_without_the_parser_of_options() -> None:
    for path in (SOURCE / "installed").glob("*.py"):
        imported = {
            alias.name if isinstance(node, ast.Import) else node.module or ""
            for node in ast.walk(ast.parse(path.read_text()))
            if isinstance(node, ast.Import | ast.ImportFrom)
            for alias in node.names
        }
        assert not [
            name
            for name in imported
            if name.startswith(("click", "rich", "muvad_tarnel.commands", "muvad_tarnel.output"))
        ]
