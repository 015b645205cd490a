"""Installers at once, and threads beside a call that takes for ever."""

import multiprocessing
import os
import signal
import threading
import time
from collections.abc import Callable
from pathlib import Path
from random import Random
from types import SimpleNamespace
from typing import Any

import pytest

from children import Ended, answers
from conftest import Figure
from muvad_tarnel.setup import skill
from scenarios import PLACES, prepare

PROCESSES, ROUNDS = 8, 200
PROJECT_PLACES = [place for place in PLACES if place.startswith("project")]


def install_in_rounds(number: int, versions: tuple[str, ...], root: Path, barrier: Any) -> None:
    skill.__version__ = version = versions[number % len(versions)]
    skill.render_skill_md.__defaults__ = (version, skill.SKILL_DIR_NAME)
    for _ in range(ROUNDS):
        barrier.wait()
        skill.install_skills("project", root / "project")
        barrier.wait()


@pytest.mark.parametrize("versions", [("0.2.0",), ("0.2.0", "0.9.0")], ids=len)
def test_row_15_processes_install_at_once(versions: tuple[str, ...], root: Path, figure: Figure) -> None:
    context = multiprocessing.get_context("fork")
    barrier = context.Barrier(PROCESSES + 1, timeout=60)
    processes = [
        context.Process(target=install_in_rounds, args=(number, versions, root, barrier)) for number in range(PROCESSES)
    ]
    for process in processes:
        process.start()
    whole = {
        place: {skill.render_skill_md(v, Path(place).parent.name).encode() for v in versions}
        for place in PROJECT_PLACES
    }
    counts = {"installs": 0, "torn_files": 0, "files_of_the_older_version": 0}
    for _ in range(ROUNDS):
        prepare(root, {})
        barrier.wait()
        barrier.wait()
        for place in PROJECT_PLACES:
            content = (root / place).read_bytes()
            counts["torn_files"] += content not in whole[place]
            counts["files_of_the_older_version"] += content in whole[place] and versions[-1].encode() not in content
        counts["installs"] += PROCESSES
    for process in processes:
        process.join(60)
    figure(15, f"{len(versions)} versions", **counts)
    assert counts["installs"] == PROCESSES * ROUNDS
    assert not counts["torn_files"]


def read_a_pipe(project: Path) -> None:
    """Status of a copy that is a pipe into which nobody writes."""
    copy = project / ".claude/skills/tarnel/SKILL.md"
    copy.parent.mkdir(parents=True)
    os.mkfifo(copy)
    skill.skill_status(project)


def search_for_ever(_: Path) -> None:
    """Directories for a hundred agents that read four of a hundred each, by an exhaustive search."""
    random = Random(1)
    directories = [f"{number:03}" for number in range(100)]
    table = {agent: SimpleNamespace(skills_project_roots=tuple(random.sample(directories, 4))) for agent in directories}
    vars(skill).update(AGENT_CONFIG=table, _EXHAUSTIVE_SEARCH_LIMIT=100)
    skill.resolve_skill_dirs(table)


@pytest.mark.parametrize("call", [read_a_pipe, search_for_ever])
def test_row_10_a_call_that_takes_for_ever(call: Callable[[Path], None], root: Path, figure: Figure) -> None:
    def task(_: int) -> tuple[int, float]:
        def go_on() -> None:
            for _ in range(50):
                time.sleep(0.01)
                turns.append(time.monotonic())
            os.kill(os.getpid(), signal.SIGINT)

        turns: list[float] = []
        prepare(root, {})
        threading.Thread(target=go_on).start()
        with pytest.raises(KeyboardInterrupt):
            call(root / "project")
        return len(turns), time.monotonic() - turns[-1]

    ((_, answer),) = answers(task, [0], limit=60)
    assert not isinstance(answer, Ended), answer
    turns, delay = answer
    figure(10, call.__name__, turns_of_another_thread=turns, milliseconds_until_Ctrl_C_ended_it=round(delay * 1000))
    assert turns == 50
