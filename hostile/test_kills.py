"""Installers killed at every system call, then run again."""

import os
import sys
from collections.abc import Callable, Mapping
from contextlib import redirect_stderr, redirect_stdout, suppress
from functools import partial
from pathlib import Path
from typing import Any

import pytest

from children import Ended, answers
from conftest import Figure
from muvad_tarnel.cli import main
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.skill import SKILL_TEMPLATES
from scenarios import FRESH, OUTDATED, prepare, torn, tree
from shim import Action, Fault, armed

# A kill before one of these, or before opening a directory, leaves the same files as a kill before the next call.
LEAVE_FILES_ALONE = {"access", "close", "flock", "fstat", "fsync", "lseek", "lstat", "opendir", "read", "stat"}
EDITED = {place: text + b"mine" for place, text in OUTDATED.items()}


def install_by_module(root: Path) -> None:
    skill.install_skills("project", root / "project")


def install_by_command(root: Path) -> None:
    sys.argv = ["muvad-tarnel", "skill", "install", "--scope", "project"]
    os.environ["HOME"] = str(root / "home")
    with (
        Path(os.devnull).open("w") as nowhere,
        redirect_stdout(nowhere),
        redirect_stderr(nowhere),
        suppress(SystemExit),
    ):
        main()


def looks_current(content: Any) -> bool:
    """Whether the stamp is complete and has this version."""
    return f"\nversion: {skill.__version__}\n".encode() in content


type Install = Callable[[Path], None]
type Files = dict[str, bytes | str | None]


def run(install: Install, root: Path, fault: Fault) -> Any:
    """The calls that an install in a fork made, or how it ended."""

    def task(fault: Fault) -> list[tuple[str, str]]:
        with armed(root, fault) as watch:
            install(root)
        return watch.calls

    ((_, answer),) = answers(task, [fault])
    return answer


def run_twice(install: Install, files: Mapping[str, bytes], root: Path, fault: Fault) -> tuple[Any, Files, Files]:
    """The outcome of a first install with the fault, and the files after it and after a second install."""
    own_root = root / str(os.getpid())
    prepare(own_root, files)
    ended = run(install, own_root, fault)
    before = tree(own_root)
    run(install, own_root, Fault())
    return ended, before, tree(own_root)


@pytest.mark.parametrize("install", [install_by_module, install_by_command])
@pytest.mark.parametrize("state", ["fresh", "outdated", "edited"])
def test_row_5_an_install_is_killed_at_any_call(
    install: Install, state: str, root: Path, figure: Figure, effort: float
) -> None:
    files = {"fresh": FRESH, "outdated": OUTDATED, "edited": EDITED}[state]
    calls, clean, again = run_twice(install, files, root, Fault())
    assert clean == again, "what is up to date stays"
    faults = [
        Fault(Action.KILL, first=number)
        for number, (call, path) in enumerate(calls)
        if effort > 1 or not (call in LEAVE_FILES_ALONE or (call == "open" and Path(path).name in SKILL_TEMPLATES))
    ]
    for number in range(sum(call == "write" for call, _ in calls)):
        faults += [Fault(Action.KILL_AFTER, length, "write", first=number) for length in (1, 300, 500, 1000, 10**6)]
    counts = {"kills": 0, "torn_behind_the_stamp": 0, "other_trees": 0}
    for _, answer in answers(partial(run_twice, install, files, root), faults):
        assert not isinstance(answer, Ended)
        ended, before, after = answer
        counts["kills"] += ended == "killed by SIGKILL"
        kept = {path for path in torn(before, files) if looks_current(before[path])}
        different = {path for path in clean.keys() | after.keys() if clean.get(path, 0) != after.get(path, 0)}
        counts["torn_behind_the_stamp"] += bool(kept)
        counts["other_trees"] += different != (kept if install is install_by_module else set())
    figure(5, install.__name__, **counts)
    assert counts["kills"] == len(faults)
    assert not counts["other_trees"]
