"""The whole life of the skills in a file system that is not there, such as programs use to test themselves with."""

import os
import sys
from collections.abc import Iterator
from pathlib import Path

import pytest
from pyfakefs.fake_filesystem import FakeFilesystem

import muvad_tarnel
from muvad_tarnel.setup import skill

# What the interpreter reports before it asks the system to change something on the disk.
CHANGES = {"os.mkdir", "os.rename", "os.remove", "os.rmdir", "os.link", "os.symlink", "os.truncate", "os.chmod"}

changed_on_disk: list[tuple[object, ...]] = []
is_watching = False


def watch(event: str, arguments: tuple[object, ...]) -> None:
    if not is_watching:
        return
    writes = event == "open" and isinstance(arguments[2], int) and arguments[2] & (os.O_WRONLY | os.O_RDWR | os.O_CREAT)
    if event in CHANGES or writes:
        changed_on_disk.append((event, *arguments))


sys.addaudithook(watch)  # there is no taking it away, hence the switch


@pytest.fixture
def real_disk_is_watched() -> Iterator[None]:
    global is_watching  # noqa: PLW0603 (the hook outlives every test)
    changed_on_disk.clear()
    is_watching = True
    yield
    is_watching = False
    assert changed_on_disk == []


@pytest.fixture
def fake(fs: FakeFilesystem, monkeypatch: pytest.MonkeyPatch) -> FakeFilesystem:
    monkeypatch.setenv("HOME", "/home/ada")
    fs.create_dir("/home/ada")
    fs.create_dir("/srv/repository")
    os.chdir("/srv/repository")  # in there as well: the process stays where it is
    return fs


def messages(results: list[skill.SkillResult]) -> set[str]:
    assert all(result.success for result in results)
    return {result.message for result in results}


@pytest.mark.usefixtures("fake", "real_disk_is_watched")
def test_install_update_status_and_shadowing_happen_in_the_fake_file_system_alone() -> None:
    version = muvad_tarnel.__version__
    both = ("claude", "cursor", "windsurf")

    results = skill.install_skills("project", agents=both)
    assert messages(results) == {f"installed v{version}"}
    assert [result.path for result in results[:3]] == [
        f"/srv/repository/.claude/skills/{name}/SKILL.md" for name in skill.SKILL_TEMPLATES
    ]
    assert messages(skill.install_skills("project", agents=both)) == {f"already up to date (v{version})"}

    copy = Path(results[0].path)
    current = copy.read_text(encoding="utf-8")
    assert current == skill.render_skill_md(skill_name="tarnel")
    copy.write_text(skill.render_skill_md("0.0.9", "tarnel"), encoding="utf-8")
    status = {result.path: result for result in skill.skill_status(agents=both) if result.scope == "project"}
    assert status[str(copy)].message == f"v0.0.9 (update available: v{version})"
    assert status[str(copy)].agents == ("claude", "cursor")
    assert f"updated to v{version}" in messages(skill.install_skills("project", agents=both))
    assert copy.read_text(encoding="utf-8") == current

    assert skill.shadowed_skills(agents=both) == []
    skill.install_skill("user", skill_name="tarnel-map")
    assert Path("/home/ada/.claude/skills/tarnel-map/SKILL.md").is_file()
    assert skill.shadowed_skills(agents=both) == ["tarnel-map"]


@pytest.mark.usefixtures("real_disk_is_watched")
def test_a_directory_that_cannot_be_written_is_a_failed_result(fake: FakeFilesystem) -> None:
    fake.create_file("/srv/repository/.claude", contents="a file where a folder should be")
    results = skill.install_skills("project")
    assert {(result.success, result.installed) for result in results} == {(False, False)}
    assert all(result.message.startswith("failed: ") for result in results)
