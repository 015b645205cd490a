"""Programs that read the module: the interpreter at its strictest, pydoc and Sphinx."""

import inspect
import pydoc
import re
import subprocess
import sys
from html import unescape
from pathlib import Path
from types import FunctionType

from muvad_tarnel.setup import skill

FUNCTIONS = {
    name: value
    for name, value in vars(skill).items()
    if isinstance(value, FunctionType) and value.__module__ == skill.__name__ and not name.startswith("_")
}

WHOLE_FLOW = """
import sys
from pathlib import Path
from muvad_tarnel.setup import skill

for scope in ("user", "project"):
    assert all(result.installed for result in skill.install_skills(scope, agents=skill.skill_capable_agents()))
assert skill.skill_status(Path.cwd(), agents=["cursor"])
assert skill.shadowed_skills(agents=["claude"]) == list(skill.SKILL_TEMPLATES)
try:
    skill.skill_target_path("nowhere")
except ValueError:
    pass
else:
    sys.exit("no error for an unknown scope")
"""


def run_python(*arguments: str | Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, *map(str, arguments)], capture_output=True, text=True, check=False, timeout=120
    )


def test_the_interpreter_has_nothing_to_warn_of() -> None:
    done = run_python("-W", "error", "-X", "dev", "-c", WHOLE_FLOW)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def test_pydoc_makes_a_page_with_every_function_signature_and_docstring() -> None:
    page = pydoc.HTMLDoc().docmodule(skill)
    # The page is made to be looked at: names are links, and spaces do not break.
    text = " ".join(unescape(re.sub(r"<[^>]*>", "", page)).split())
    assert FUNCTIONS
    for name, function in FUNCTIONS.items():
        assert f"{name}{inspect.signature(function)}" in text, name
        assert " ".join(str(function.__doc__).partition("\n")[0].split()) in text, name


def autodoc(folder: Path, *, stub: bool) -> str:
    """What Sphinx writes about the module, or about its stub, which it prefers when it isn't told otherwise."""
    source = folder / "sphinx"
    source.mkdir()
    ignore_stub = "import os\nos.environ['SPHINX_AUTODOC_IGNORE_NATIVE_MODULE_TYPE_STUBS'] = '1'\n"
    (source / "conf.py").write_text(
        f"{'' if stub else ignore_stub}extensions = ['sphinx.ext.autodoc']\n", encoding="utf-8"
    )
    (source / "index.rst").write_text(
        f"skill\n=====\n\n.. automodule:: {skill.__name__}\n   :members:\n   :undoc-members:\n", encoding="utf-8"
    )
    done = run_python("-m", "sphinx", "-W", "--keep-going", "-q", "-b", "text", source, source / "out")
    assert done.returncode == 0, done.stderr
    return " ".join((source / "out/index.txt").read_text(encoding="utf-8").split())


def test_autodoc_finds_every_function_with_its_signature_and_docstring(tmp_path: Path) -> None:
    found = autodoc(tmp_path, stub=False).replace("'", "")
    for name, function in FUNCTIONS.items():
        assert f"{skill.__name__}.{name}{inspect.signature(function)}".replace("'", "") in found, name
    assert f"class {skill.__name__}.SkillResult(success: bool, scope: str, path: str, message: str" in found
    assert "An existing install is overwritten only when its stamped version is older" in found
    assert "Embedded *tarnel* agent skill + installer." in found


def test_autodoc_reads_the_stub(tmp_path: Path) -> None:
    found = autodoc(tmp_path, stub=True)
    for name, function in FUNCTIONS.items():
        signature = found.partition(f"{skill.__name__}.{name}(")[2].partition(") -> ")[0]
        assert re.findall(r"(\w+): ", signature) == list(inspect.signature(function).parameters), name
