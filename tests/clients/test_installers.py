"""Install and run the wheel with uv and pipx. They find all the packages they need in TARNEL_WHEELHOUSE."""

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
UV = {"UV_OFFLINE": "1", "UV_NO_INDEX": "1", "UV_FIND_LINKS": str(WHEELHOUSE), "UV_NO_CONFIG": "1"}
UV |= {"UV_PYTHON": sys.executable, "UV_PYTHON_DOWNLOADS": "never"}


def run(*command: str | Path, **environment: str) -> str:
    # Pass on none of the machine's settings except PATH; HOME is the test's own.
    clean = {"PATH": f"{PROGRAMS}:{os.environ['PATH']}", "HOME": os.environ["HOME"], "LANG": "C.UTF-8", **environment}
    return subprocess.check_output(command, env=clean, stdin=subprocess.DEVNULL, text=True, timeout=120)


def test_uv_installs_the_command_line_as_a_tool_and_takes_it_away(home: Path, project: Path) -> None:
    run(PROGRAMS / "uv", "tool", "install", WHEEL, **UV)
    program = home / ".local/bin/muvad-tarnel"
    assert run(program, "--version") == f"muvad-tarnel {__version__}\n"
    run(program, "skill", "install", "--scope", "project", "--project", project)
    assert len([*project.glob(".claude/skills/*/SKILL.md")]) == 3
    run(PROGRAMS / "uv", "tool", "uninstall", "muvad-tarnel", **UV)
    assert not program.exists()


@pytest.mark.parametrize("runner", ["uvx --from", "pipx run --backend pip --spec", "pipx run --backend uv --spec"])
def test_runners_run_the_command_line_from_the_wheel(runner: str) -> None:
    program, *options = runner.split()
    shown = run(PROGRAMS / program, *options, WHEEL, "muvad-tarnel", "--version", **PIP, **UV)
    assert shown == f"muvad-tarnel {__version__}\n"
