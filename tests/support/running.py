"""Run the command line in this process, in a subprocess or on a terminal."""

import json
import os
import shlex
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
    """Run `muvad-tarnel skill ...` in this process. Unexpected exceptions propagate."""
    return CliRunner(catch_exceptions=False).invoke(command_line, ["skill", *arguments])


def answer(*arguments: str, exit_code: int = 0) -> dict[str, Any]:
    """Run a command with --json, check its exit code, and return its object."""
    result = run(*arguments, "--json")
    assert result.exit_code == exit_code, result.output
    return dict(json.loads(result.stdout))


def run_process(*arguments: str, **environment: str) -> subprocess.CompletedProcess[str]:
    return run_in_shell(shlex.join([*COMMAND, *arguments]), **environment)


def run_in_shell(line: str, **environment: str) -> subprocess.CompletedProcess[str]:
    """Run a line of shell code. `$TARNEL` in it is the program."""
    variables = os.environ | {"TARNEL": " ".join(COMMAND)} | environment
    command = ["/bin/bash", "-c", line]
    return subprocess.run(command, check=False, capture_output=True, text=True, timeout=60, env=variables)


def run_on_terminal(*arguments: str, columns: int = 80, **environment: str) -> Screen:
    variables = {name: value for name, value in os.environ.items() if name not in ("COLUMNS", "LINES", "NO_COLOR")}
    variables |= {"TERM": "xterm-256color", "PYTHONIOENCODING": "utf-8"} | environment
    return terminal.run_on_terminal([*COMMAND, *arguments], variables, columns)


def agents(*keys: str) -> list[str]:
    return [word for key in keys for word in ("--agent", key)]


def copy_in(root: Path, directory: str, name: str = "tarnel") -> Path:
    return root / directory / name / "SKILL.md"


def text_of(kind: str, name: str = "tarnel") -> bytes | None:
    """The content of a copy of a kind, such as `outdated, edited`. None for a missing copy."""
    current = render_skill_md(skill_name=name)
    old = render_skill_md("0.0.1", name)
    return {
        "current": current.encode(),
        "current, as Windows has it": ("\ufeff" + current.replace("\n", "\r\n")).encode(),
        "outdated": old.encode(),
        "outdated, edited": (old + "mine").encode(),
        "newer": render_skill_md("99.0", name).encode(),
        "modified": (current + "My own words.\n").encode(),
        "incomplete": current.encode()[:700],
        "incomplete, empty": b"",
        "incomplete, cut in a character": current.encode()[: current.encode().index("\u2014".encode()) + 1],
        "incomplete, outdated": old.encode()[:-1],
        "foreign": b"my own skill\n",
        "unreadable": b"version: \xff\n",
        "missing": None,
    }[kind]


def put(root: Path, directory: str, kind: str = "current", *names: str) -> Path:
    """Write copies of a kind into a skills directory, by default of every skill. Return the path of the first."""
    paths = [copy_in(root, directory, name) for name in names or SKILL_TEMPLATES]
    for path in paths:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        content = text_of(kind, path.parent.name)
        if content is not None:
            path.write_bytes(content)
    return paths[0]


def files(root: Path) -> set[str]:
    """The paths of all files and links below a directory."""
    return {path.relative_to(root).as_posix() for path in root.rglob("*") if path.is_symlink() or path.is_file()}


def holding_all(root: Path) -> set[str]:
    """The skills directories below a directory that hold every skill."""
    return {
        folder.relative_to(root).as_posix()
        for folder in root.rglob("skills")
        if all(copy_in(folder, ".", name).is_file() for name in SKILL_TEMPLATES)
    }
