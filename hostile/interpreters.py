"""Interpreters beside each other.

Arguments: the extension's file, and "eight"; or the kind ("own", "shared"), what each imports ("module", "control") and
how many there are one after another. Prints what it counted; for kinds, also how many bytes the process has grown by.
"""

import importlib
import json
import os
import sys
import tempfile
import threading
from pathlib import Path

import muvad_tarnel
from fresh_module import fresh_module

EXTENSION, QUESTION = sys.argv[1:3]
PATH = [*sys.path, str(Path(muvad_tarnel.__file__).parents[1])]
WARM_UP = 10
support = importlib.import_module("_xxsubinterpreters")

CONTROL = """
import sys
sys.path[:] = {path!r}
import importlib.util, itertools, re, collections.abc, dataclasses, pathlib
import muvad_tarnel.setup.config
import fresh_module
root = pathlib.Path({root!r})
"""
MODULE = (
    CONTROL
    + """
skill = fresh_module.fresh_module({file!r})
for _ in range(3):
    assert all(result.success for result in skill.install_skills("project", root, force=True))
assert len(skill.skill_status(root)) == 6 and skill.shadowed_skills(root) == []
skill.install_skill = lambda *_, **keywords: [sys.intern(str(name.encode(), "ascii")) is name for name in keywords]
assert skill.install_skills("project", root) == [[True] * 5] * 3  # no string of another interpreter
"""
)


def cycle(source: str, isolated: bool) -> None:
    with tempfile.TemporaryDirectory() as root:
        interpreter = support.create(isolated=isolated)
        support.run_string(interpreter, source.format(path=PATH, file=EXTENSION, root=root))
        support.destroy(interpreter)


def run_eight() -> int:
    """At once, all but two with a GIL of their own; this one uses the module after them, then beside them."""

    def run(isolated: bool) -> None:
        cycle(MODULE, isolated)
        done.append(isolated)

    done: list[bool] = []
    for _ in range(4):
        threads = [threading.Thread(target=run, args=(number % 4 > 0,)) for number in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert fresh_module(EXTENSION).resolve_skill_dirs(["claude"]) == [".claude/skills"]
    return len(done)


def resident() -> int:
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def growth(kind: str, source: str, count: int) -> int:
    before = 0
    for number in range(WARM_UP + count):
        if number == WARM_UP:
            before = resident()
        cycle(source, kind == "own")
    return resident() - before


if QUESTION == "eight":
    counted = {"interpreters": run_eight()}
else:
    cycles = int(sys.argv[4])
    counted = {
        "cycles": cycles,
        "growth": growth(QUESTION, {"module": MODULE, "control": CONTROL}[sys.argv[3]], cycles),
    }
sys.stdout.write(json.dumps(counted) + "\n")
