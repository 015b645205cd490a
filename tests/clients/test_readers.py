"""Programs that read the module: pydoc and Sphinx."""

import inspect
import pydoc
import re
import subprocess
import sys
from html import unescape
from pathlib import Path
from types import FunctionType

import pytest

from muvad_tarnel.setup import skill

FUNCTIONS = {
    name: value
    for name, value in vars(skill).items()
    if isinstance(value, FunctionType) and value.__module__ == skill.__name__ and not name.startswith("_")
}


def test_pydoc_makes_a_page_with_every_function_signature_and_docstring() -> None:
    page = pydoc.HTMLDoc().docmodule(skill)
    # The page is made to be looked at: names are links, and spaces do not break.
    text = " ".join(unescape(re.sub(r"<[^>]*>", "", page)).split())
    assert FUNCTIONS
    for name, function in FUNCTIONS.items():
        assert f"{name}{inspect.signature(function)}" in text, name
        assert " ".join(str(function.__doc__).partition("\n")[0].split()) in text, name


def test_autodoc_finds_every_function_with_its_signature(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("SPHINX_AUTODOC_IGNORE_NATIVE_MODULE_TYPE_STUBS", "1")
    configuration = "extensions = ['sphinx.ext.autodoc']\n"
    (tmp_path / "conf.py").write_text(configuration, encoding="utf-8")
    options = "   :members:\n   :undoc-members:\n"
    (tmp_path / "index.rst").write_text(
        f"skill\n=====\n\n.. automodule:: {skill.__name__}\n{options}", encoding="utf-8"
    )
    command = [sys.executable, "-m", "sphinx", "-W", "--keep-going", "-q", "-b", "text", str(tmp_path)]
    subprocess.run([*command, str(tmp_path / "out")], check=True, timeout=120)
    found = " ".join((tmp_path / "out/index.txt").read_text(encoding="utf-8").replace("'", "").split())
    for name, function in FUNCTIONS.items():
        assert f"{skill.__name__}.{name}{inspect.signature(function)}".replace("'", "") in found, name
    assert f"class {skill.__name__}.SkillResult(success: bool, scope: str, path: str, message: str" in found
    assert "An existing install is overwritten only when its stamped version is older" in found
