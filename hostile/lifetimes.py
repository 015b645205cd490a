"""Imports, and the end of the interpreter. Arguments: the extension's file, the question, and what it is asked with.

Prints its complaints, and at the end what it counted.
"""

import atexit
import builtins
import gc
import importlib
import json
import os
import sys
import threading
import time
import weakref
from collections.abc import Callable
from pathlib import Path
from types import ModuleType
from unittest import mock

from fresh_module import NAME, fresh_module

EXTENSION, QUESTION, *MORE = sys.argv[1:]
TWIN = str(Path(__file__).parents[1] / "bench" / "plain_skill.py")
IMPORTS = 100


def count_blocks(file: str) -> int:
    """How many blocks more there are after so many imports and uses; what outlives its module is used as well."""
    before = 0
    for number in range(IMPORTS + 20):
        if number == 20:
            gc.collect()
            before = sys.getallocatedblocks()
        install = fresh_module(file).install_skills
        gc.collect()
        assert [result.success for result in install("project")] == [True] * 3
        sys._clear_type_cache()
    del install
    gc.collect()
    return sys.getallocatedblocks() - before


def imports() -> dict[str, int]:
    grown, allowed = count_blocks(EXTENSION), count_blocks(TWIN)
    if grown > max(allowed, 0):
        sys.stdout.write(f"{grown} blocks more after {IMPORTS} imports, and {allowed} more with plain Python\n")
    return {"imports": IMPORTS}


def imports_that_fail() -> dict[str, int]:
    """In a host that isn't ready yet, or that tests itself; once all is in place, the import is good for use."""
    importlib.import_module(NAME.rpartition(".")[0])
    failures = 0
    for absent in ("muvad_tarnel.setup.config", "pathlib", "dataclasses", "re", "itertools") * 20:
        with mock.patch.dict(sys.modules, {absent: None}):
            try:
                importlib.import_module(NAME)
            except ImportError:
                failures += 1
    methods = {name: mock.Mock(return_value=False) for name in ("exists", "mkdir", "write_text", "read_text")}
    with mock.patch.multiple(Path, **methods):
        skill = importlib.import_module(NAME)
        skill.install_skills("project")
    assert [method.call_count for method in methods.values()] == [3, 3, 3, 0]
    assert not any(Path.cwd().iterdir()), "the disk is as it was"
    assert all(result.installed for result in skill.install_skills("project"))
    assert len([*Path.cwd().rglob("SKILL.md")]) == 3
    return {"failed_imports": failures}


class AtEnd:
    """Calls when it is deleted."""

    def __init__(self, call: Callable[[], None]) -> None:
        self.call = call

    def __del__(self) -> None:
        self.call()


def end(file: str) -> None:
    """Use the module ever later while the interpreter ends, and tell what came of it."""
    skill = fresh_module(file)
    install = skill.install_skills

    def use(when: str, write: Callable[[int, bytes], int] = os.write) -> Callable[[], None]:
        def call() -> None:
            try:
                told = f"{install('project', force=True)}"
            except Exception as error:  # noqa: BLE001  # little is left by then
                told = f"{type(error)}"
            write(1, f"{when}: {told}\n".encode())

        return call

    atexit.register(use("registered"))
    weakref.finalize(main, use("finalized"))
    vars(main)["global"] = AtEnd(use("global"))
    vars(sys)["of_sys"] = AtEnd(use("of_sys"))
    vars(builtins)["of_builtins"] = AtEnd(use("of_builtins"))


def end_with_daemons(call: str) -> dict[str, int]:
    """Threads are within the system call when the interpreter begins to end, and come out of it before it has."""
    import shim  # noqa: PLC0415  # which needs the library that is loaded before all others

    skill = fresh_module(EXTENSION)
    skill.install_skills("project")
    rule = shim.armed(Path.cwd(), shim.Fault(shim.Action.PAUSE, 50, call, count=shim.FOR_EVER))
    vars(builtins)["while_ending"] = AtEnd(lambda: time.sleep(0.1)), rule
    rule.__enter__()

    def use() -> None:
        for number in range(1000):
            skill.install_skills("project", Path.cwd() / f"{number % 5}", force=True)

    for _ in range(4):
        threading.Thread(target=use, daemon=True).start()
    time.sleep(0.2)
    return {"pauses": shim._process.shim_hits()}


main: ModuleType = sys.modules["__main__"]
if QUESTION == "end":
    end(EXTENSION)
    sys.exit()
questions: dict[str, Callable[..., dict[str, int]]]
questions = {"imports": imports, "failures": imports_that_fail, "daemons": end_with_daemons}
counted = questions[QUESTION](*MORE)
sys.stdout.write(json.dumps(counted) + "\n")
