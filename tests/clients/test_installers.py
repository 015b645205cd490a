"""The wheel in the hands of the programs that people install command lines with.

They find the wheel's requirements in the folder that TARNEL_WHEELHOUSE names, and nothing elsewhere, so that what is
tested is the wheel and not the network.
"""

import os
import subprocess
import sys
from pathlib import Path

import pytest

from muvad_tarnel import __version__

PROGRAMS = Path(sys.prefix) / "bin"
WHEELHOUSE = Path(os.environ["TARNEL_WHEELHOUSE"])
(WHEEL,) = WHEELHOUSE.glob("muvad_tarnel-*.whl")

PIP = {"PIP_NO_INDEX": "1", "PIP_FIND_LINKS": str(WHEELHOUSE), "PIP_CONFIG_FILE": os.devnull}
UV = {
    "UV_OFFLINE": "1",
    "UV_NO_INDEX": "1",
    "UV_FIND_LINKS": str(WHEELHOUSE),
    "UV_NO_CONFIG": "1",
    "UV_PYTHON": sys.executable,
    "UV_PYTHON_DOWNLOADS": "never",
}


def run(*command: str | Path, **environment: str) -> str:
    # Nothing of the machine's own settings but where its programs are.
    path = os.pathsep.join([str(PROGRAMS), os.environ["PATH"]])
    done = subprocess.run(
        [str(part) for part in command],
        env={"PATH": path, "HOME": os.environ["HOME"], "LANG": "C.UTF-8", **environment},
        stdin=subprocess.DEVNULL,
        capture_output=True,
        text=True,
        check=False,
        timeout=120,
    )
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_uv_installs_the_command_line_as_a_tool_and_takes_it_away(home: Path, project: Path) -> None:
    run(PROGRAMS / "uv", "tool", "install", WHEEL, **UV)
    program = home / ".local/bin/muvad-tarnel"
    assert run(program, "--version") == f"muvad-tarnel {__version__}\n"
    run(program, "skill", "install", "--scope", "project", "--project", project)
    assert sorted(path.parent.name for path in project.glob(".claude/skills/*/SKILL.md")) == [
        "tarnel",
        "tarnel-map",
        "tarnel-wiki",
    ]
    run(PROGRAMS / "uv", "tool", "uninstall", "muvad-tarnel", **UV)
    assert not program.exists()


def test_uvx_runs_the_command_line_from_the_wheel() -> None:
    assert run(PROGRAMS / "uvx", "--from", WHEEL, "muvad-tarnel", "--version", **UV) == f"muvad-tarnel {__version__}\n"


@pytest.mark.parametrize("backend", ["pip", "uv"])
def test_pipx_runs_the_command_line_from_the_wheel(backend: str) -> None:
    pipx = (PROGRAMS / "pipx", "run", "--backend", backend)
    assert run(*pipx, "--spec", WHEEL, "muvad-tarnel", "--version", **PIP, **UV) == f"muvad-tarnel {__version__}\n"
