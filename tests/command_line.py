"""Running the command line: in this process, in one of its own, and on a terminal."""

import json
import os
import subprocess
import sys
from pathlib import Path
from typing import Any

from click.testing import CliRunner, Result

import terminal
from muvad_tarnel.cli import command_line
from muvad_tarnel.setup.skill import SKILL_TEMPLATES, render_skill_md
from terminal import Screen

COMMAND = [sys.executable, "-m", "muvad_tarnel"]


def run(*arguments: str) -> Result:
    """Run `muvad-tarnel skill ...` in this process, where an exception that nobody expects is one."""
    return CliRunner(catch_exceptions=False).invoke(command_line, ["skill", *arguments])


def answer(*arguments: str, exit_code: int = 0) -> dict[str, Any]:
    """What a command says with --json, having exited as expected."""
    result = run(*arguments, "--json")
    assert result.exit_code == exit_code, result.output
    said = json.loads(result.stdout)
    assert isinstance(said, dict)
    return said


def run_process(*arguments: str, **environment: str) -> subprocess.CompletedProcess[str]:
    """Run `muvad-tarnel` as a program, its output in pipes."""
    return subprocess.run(
        [*COMMAND, *arguments], check=False, capture_output=True, text=True, timeout=60, env=os.environ | environment
    )


def run_on_terminal(*arguments: str, columns: int = 80, **environment: str) -> Screen:
    """Run `muvad-tarnel` on a terminal of that width."""
    variables = {name: value for name, value in os.environ.items() if name not in ("COLUMNS", "LINES", "NO_COLOR")}
    variables |= {"TERM": "xterm-256color", "PYTHONIOENCODING": "utf-8"} | environment
    return terminal.run_on_terminal([*COMMAND, *arguments], variables, columns)


def copy_in(root: Path, directory: str, name: str = "tarnel") -> Path:
    """Where a skill's copy stands."""
    return root / directory / name / "SKILL.md"


def put(root: Path, directory: str, text: str | bytes | None = None, *names: str) -> Path:
    """Write copies into a skills directory, as this package would unless a text is given; the path of the first."""
    for name in names or tuple(SKILL_TEMPLATES):
        path = copy_in(root, directory, name)
        path.parent.mkdir(parents=True, exist_ok=True)
        content = render_skill_md(skill_name=name) if text is None else text
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
    return copy_in(root, directory, (names or tuple(SKILL_TEMPLATES))[0])
