"""Install, update and check skills in a fake file system, like programs that use one in their own tests."""

import os
from pathlib import Path

import pytest
from pyfakefs.fake_filesystem import FakeFilesystem

from muvad_tarnel.setup import skill

AGENTS = ("claude", "cursor", "windsurf")


def test_skills_live_in_the_fake_file_system(fs: FakeFilesystem, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("HOME", "/home/ada")
    fs.create_dir("/home/ada")
    fs.create_dir("/srv/repository")
    os.chdir("/srv/repository")  # only in the fake file system: the process's real directory stays the same

    results = skill.install_skills("project", agents=AGENTS)
    paths = [f"/srv/repository/.claude/skills/{name}/SKILL.md" for name in skill.SKILL_TEMPLATES]
    assert [result.path for result in results if result.installed][:3] == paths
    assert not any(result.installed for result in skill.install_skills("project", agents=AGENTS))
    copy = Path(paths[0])
    copy.write_text(skill.render_skill_md("0.0.9"), encoding="utf-8")
    (outdated,) = [result for result in skill.skill_status(agents=AGENTS) if "available" in result.message]
    assert (outdated.path, outdated.agents) == (paths[0], ("claude", "cursor"))
    skill.install_skills("project", agents=AGENTS)
    assert copy.read_text(encoding="utf-8") == skill.render_skill_md()

    assert skill.shadowed_skills(agents=AGENTS) == []
    skill.install_skill("user", skill_name="tarnel-map")
    assert skill.shadowed_skills(agents=AGENTS) == ["tarnel-map"]
    fs.create_file("/home/ada/.gemini", contents="a file where a folder should be")
    assert [result.success for result in skill.install_skills("user", agents=["gemini"])] == [False] * 3

    fs.pause()  # use the real file system
    assert not any(Path(place).exists() for place in ("/home/ada", "/srv/repository"))
    fs.resume()
