"""Threads that call everything at once. Arguments: the extension's file, and how often each thread does.

Another thread replaces and restores what the fast paths leave out, by something that does the same; one more collects
garbage. Prints the answers that the plain-Python twin would not give, and at the end what was counted.
"""

import functools
import gc
import io
import itertools
import json
import os
import re
import sys
import tempfile
import threading
from collections.abc import Callable, Iterator
from pathlib import Path
from types import ModuleType
from typing import Any

import plain_skill
from fresh_module import fresh_module

EXTENSION, ROUNDS = sys.argv[1], int(sys.argv[2])
THREADS = 16
REPLACED: list[tuple[Any, str]] = [
    *((Path, name) for name in ("exists", "mkdir", "write_text", "read_text", "open", "stat", "is_dir", "__truediv__")),
    *((os, name) for name in ("stat", "mkdir", "fspath", "getcwd")),
    *((io, "open"), (io, "text_encoding"), (re, "match"), (itertools, "combinations")),
    *((Path, "parent"), (Path, "home")),
]


def calls(module: ModuleType, root: Path) -> Iterator[Callable[[], object]]:
    agents = ("claude", "cursor", "copilot", "windsurf")
    for options in ({"force": True}, {"dry_run": True}, {}):
        yield functools.partial(module.install_skills, "project", root, agents=agents, **options)
    yield functools.partial(module.install_skill, "project", root / "none\0", force=True)
    yield functools.partial(module.install_skill, "project", root / "file")
    yield functools.partial(module.skill_status, root, agents=agents)
    yield functools.partial(module.shadowed_skills, root, agents=agents)
    yield functools.partial(module.skill_dir_plan, list(agents), "user")
    yield functools.partial(module._installed_version, root / ".claude/skills/tarnel/SKILL.md")
    for version in ("1.10.0", "x", "9" * 30, 3):
        yield functools.partial(module._version_tuple, version)
    yield functools.partial(module.render_skill_md, skill_name="none")


def answer(call: Callable[[], object]) -> str:
    try:
        return repr(call())
    except Exception as error:  # noqa: BLE001  # an answer as well
        return repr(error)


def passing(value: Any) -> Any:
    """What does the same, and counts that it was used."""

    def same(*given: Any, **named: Any) -> Any:
        next(uses)
        return value(*given, **named)

    if isinstance(value, property):
        return property(passing(value.fget))
    return classmethod(passing(value.__func__)) if isinstance(value, classmethod) else same


def replace() -> None:
    for count in itertools.count():
        owner, name = REPLACED[count % len(REPLACED)]
        usual = next(vars(base)[name] for base in getattr(owner, "__mro__", (owner,)) if name in vars(base))
        own = name in vars(owner)
        setattr(owner, name, passing(usual))
        setattr(owner, name, usual) if own else delattr(owner, name)
        if ended.is_set():
            counted["replacements"] = count + 1
            return


def collect() -> None:
    while not ended.is_set():
        gc.collect()
        counted["collections"] += 1


def call_everything(root: Path) -> None:
    (root / "file").parent.mkdir()
    (root / "file").touch()
    for _ in range(2):  # the second time, everything is there
        expected = [answer(call) for call in calls(plain_skill, root)]
    for _ in range(ROUNDS):
        for call, wanted in zip(calls(skill, root), expected, strict=True):
            given = answer(call)
            next(answers)
            if given != wanted:
                sys.stdout.write(f"{call}: {given} in place of {wanted}\n")


skill = fresh_module(EXTENSION)
counted = {"threads": THREADS, "collections": 0}
answers, uses = itertools.count(), itertools.count()
ended = threading.Event()
with tempfile.TemporaryDirectory() as directory:
    os.environ["HOME"] = directory
    sys.setswitchinterval(1e-6)
    helpers = [threading.Thread(target=task) for task in (replace, collect)]
    callers = [threading.Thread(target=call_everything, args=(Path(directory, str(i)),)) for i in range(THREADS)]
    for thread in (*callers, *helpers):
        thread.start()
    for thread in callers:
        thread.join()
    ended.set()
    for thread in helpers:
        thread.join()
sys.stdout.write(json.dumps(counted | {"answers": next(answers), "uses_of_replacements": next(uses)}) + "\n")
