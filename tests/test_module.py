"""The module as a whole: its import, its contents, and the exports of its file."""

import builtins
import contextlib
import importlib.metadata
import shutil
import subprocess
import sys
from pathlib import Path
from typing import Any

import pytest

import muvad_tarnel
import plain_skill
from fresh_module import NAME, fresh_module
from muvad_tarnel.setup import config, skill


@pytest.mark.parametrize("lacks_module", [False, True])
def test_the_import_fails_as_the_twins_does_without_a_table(
    monkeypatch: pytest.MonkeyPatch, *, lacks_module: bool
) -> None:
    monkeypatch.delattr(config, "AGENT_CONFIG")
    monkeypatch.setitem(sys.modules, config.__name__, None if lacks_module else config)
    details: list[object] = []
    for module in (skill, plain_skill):
        with pytest.raises(ImportError) as caught:
            fresh_module(str(module.__file__))
        error = caught.value
        details.append((type(error), str(error), error.name, error.path, error.name_from))
    assert details[0] == details[1]


def test_the_import_goes_through_the_import_function_that_is_in_place(monkeypatch: pytest.MonkeyPatch) -> None:
    def note(name: str, namespace: dict[str, object], local_namespace: Any, *rest: Any) -> object:
        if namespace["__name__"] == NAME:
            calls.append((name, local_namespace is namespace, *rest))
        return original(name, namespace, local_namespace, *rest)

    original, calls = builtins.__import__, list[tuple[object, ...]]()
    monkeypatch.setattr(builtins, "__import__", note)
    fresh_module(str(plain_skill.__file__))
    expected, calls = calls, []
    fresh_module(skill.__file__)
    assert calls == expected != []


def test_the_import_takes_no_dict_watcher() -> None:
    pytest.importorskip("_testcapi")
    # In a new process, which has free watchers; in this one, other instances of the module may have taken them all.
    take = "print(_testcapi.add_dict_watcher(0));"
    script = f"import _testcapi; {take} import {NAME}; {take} {NAME}.render_skill_md(); {take}"
    ran = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=True)
    first, second, third = map(int, ran.stdout.split())
    assert second == first + 1
    assert third > second + 1  # the first call does take some


def test_a_second_import_creates_a_separate_namespace(tmp_path: Path) -> None:
    first, second = (fresh_module(skill.__file__) for _ in range(2))
    assert first.SkillResult is not second.SkillResult
    first.SKILL_TEMPLATES["tarnel"] = "first {version}"
    assert first.render_skill_md("1") == "first 1"
    copy = Path(first.install_skill("project", tmp_path).path)
    assert copy.read_text(encoding="utf-8") == f"first {muvad_tarnel.__version__}"
    assert second.render_skill_md("1") == skill.render_skill_md("1")
    assert {id(function.__globals__) for function in (second._score, second.install_skill)} == {id(vars(second))}


def test_one_version_is_packaged_shown_and_stamped() -> None:
    stamps = {skill._VERSION_RE.findall(skill.render_skill_md(skill_name=name))[0] for name in skill.SKILL_TEMPLATES}
    assert stamps == {muvad_tarnel.__version__} == {skill.__version__}
    with contextlib.suppress(importlib.metadata.PackageNotFoundError):
        assert importlib.metadata.version("muvad-tarnel") == muvad_tarnel.__version__


@pytest.mark.skipif(sys.platform != "linux" or shutil.which("nm") is None, reason="needs nm on ELF")
def test_the_extension_exports_its_entry_alone() -> None:
    command = ["nm", "-D", "--defined-only", skill.__file__]
    listing = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    assert [line.split()[-1] for line in listing.splitlines()] == ["PyInit_skill"]
