"""Runs an experiment of test_processes.py in a process that may crash. Arguments: the module's file, its name, options.

Prints any problems, then its counts.
"""

import atexit
import builtins
import contextlib
import ctypes
import functools
import gc
import importlib
import itertools
import json
import os
import sys
import threading
import time
import weakref
from array import array
from collections.abc import Callable
from pathlib import Path
from types import FunctionType, ModuleType
from unittest import mock

import plain_skill
from fresh_module import fresh_module
from muvad_tarnel.setup import config
from scenarios import ON_FILES, OTHERS, prepare

FILE, QUESTION, *MORE = sys.argv[1:]
ROOT = Path.cwd() / str(os.getpid())
SCENARIOS = ON_FILES | OTHERS
ROUNDS = 5


class MallocState(ctypes.Structure):
    """`struct mallinfo2`. Its eighth field is the number of bytes in use, including those of C++ code."""

    _fields_ = [(f"field_{number}", ctypes.c_size_t) for number in range(1, 11)]


mallinfo = ctypes.CDLL(None).mallinfo2
mallinfo.restype = MallocState
MEASURES: dict[str, Callable[[list[object]], int]] = {
    "memory blocks": lambda _: sys.getallocatedblocks(),
    "references": lambda watched: sum(map(sys.getrefcount, watched)),
    "descriptors": lambda _: len(list(Path("/proc/self/fd").iterdir())),
    "bytes of malloc": lambda _: int(mallinfo().field_8),
}


def growth(case: Callable[[], object], calls: int, watched: list[object]) -> dict[str, list[int]]:
    """The growth of each measure in each round."""
    totals = [array("q", bytes(8 * (1 + ROUNDS))) for _ in MEASURES]  # setting an item allocates no memory blocks
    for number in range(1 + ROUNDS):
        for _ in range(calls if number else min(calls, 500)):
            with contextlib.suppress(Exception):
                case()
        gc.collect()
        sys._clear_type_cache()  # it owns a growing number of names
        for measure, total in zip(MEASURES.values(), totals, strict=True):
            total[number] = measure(watched)
    return {kind: [b - a for a, b in itertools.pairwise(total)] for kind, total in zip(MEASURES, totals, strict=True)}


def odd_cases(skill: ModuleType, nameless: ModuleType) -> dict[str, Callable[[], object]]:
    """Calls that cover code no scenario reaches. `nameless` lacks the names that they need."""
    (body,) = filter(callable, skill._score.__code__.co_consts)
    del nameless.SKILL_TEMPLATES
    vars(nameless)["_scope_base"] = nameless.skill_target_path
    return {
        "body called": lambda: body(ROOT),
        "surplus argument": lambda: skill._score(("x",), {}, ROOT),
        "argument twice": lambda: skill._score(("x",), {}, selection=ROOT),
        "unknown argument": lambda: skill._score(("x",), agent_roots={}, unknown=ROOT),
        "unreadable copy": lambda: skill._installed_version(ROOT),
        "missing name": lambda: nameless.render_skill_md("1"),
        "endless recursion": lambda: nameless.skill_target_path("user", ROOT),
        "import": functools.partial(fresh_module, FILE),
        "failing import": functools.partial(mock.patch.dict(sys.modules, {config.__name__: None})(fresh_module), FILE),
        "use after the module": lambda: fresh_module(FILE).skill_target_path("project", ROOT),
    }


def count_leaks(way: str, most_calls: str) -> dict[str, int]:
    sys.setrecursionlimit(60)
    modules = [fresh_module(FILE) for _ in range(2)]
    watched: list[object] = [ROOT, *config.AGENT_CONFIG.values(), KeyError, TypeError, NameError]
    functions = [value for module in modules for value in vars(module).values() if isinstance(value, FunctionType)]
    for function in functions:
        watched += [function, *(function.__defaults__ or ()), *(function.__kwdefaults__ or {}).values()]
        if way == "slow":
            function.__code__ = function.__code__.replace()
    if way == "slow":
        mock.patch.object(Path, "exists", functools.partialmethod(Path.exists)).start()
    cases = odd_cases(*modules)
    calls_of = {
        name: int(most_calls) // (20 if name in cases else 1) for name in [*cases, *SCENARIOS]
    }  # the odd cases are slow
    gc.freeze()
    for name, calls in calls_of.items():
        prepare(ROOT, SCENARIOS[name].files if name in SCENARIOS else {})
        case = SCENARIOS[name].bound(modules[0], ROOT) if name in SCENARIOS else cases[name]
        for kind, steps in growth(case, calls, watched).items():
            # Malloc's own caches fill slowly, especially during imports.
            least = (16 if name in SCENARIOS else 1024) * calls if kind == "bytes of malloc" else 0
            if min(steps) > least or max(steps) < -least:
                sys.stdout.write(f"{name}, {way}: {kind} per {calls} calls: {steps}\n")
    return {"functions": len(functions) // 2, "cases": len(calls_of), "calls": ROUNDS * sum(calls_of.values())}


CONTROL = """
import sys
sys.path[:] = {path!r}
import importlib.util, itertools, re, collections.abc, dataclasses, pathlib
import fresh_module, muvad_tarnel.setup.config
"""
MODULE = """
skill = fresh_module.fresh_module({file!r})
assert all(result.success for _ in range(3) for result in skill.install_skills("project", {root!r}, force=True))
skill.install_skill = lambda *_, **keywords: [sys.intern(str(name.encode(), "ascii")) is name for name in keywords]
assert skill.install_skills("project", "") == [[True] * 5] * 3  # no string of another interpreter
"""


def use_interpreter(source: str, isolated: bool) -> None:
    support = importlib.import_module("_xxsubinterpreters")
    interpreter = support.create(isolated=isolated)
    root = f"{ROOT}/{threading.get_ident()}"
    support.run_string(interpreter, source.format(path=sys.path, file=FILE, root=root))
    support.destroy(interpreter)


def use_eight_interpreters() -> dict[str, int]:
    """Run eight interpreters at once, all but two with their own GIL, then use the module in the main one. Repeat."""
    for _ in range(4):
        threads = [threading.Thread(target=use_interpreter, args=(CONTROL + MODULE, i % 4 > 0)) for i in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert fresh_module(FILE).resolve_skill_dirs(["claude"]) == [".claude/skills"]
    return {"interpreters": 4 * 8}


def count_memory(kind: str, what: str, cycles: str) -> dict[str, int]:
    def resident() -> int:
        return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    before = 0
    for number in range(-10, int(cycles)):
        before = resident() if number == 0 else before
        use_interpreter(CONTROL + MODULE * (what == "module"), kind == "own")
    return {"cycles": int(cycles), "bytes": resident() - before}


def count_imports() -> dict[str, int]:
    """Import the module without a dependency and with a mocked pathlib. Use functions that outlive their module."""

    def grown(file: str) -> int:
        before = 0
        for number in range(-20, 100):
            install = fresh_module(file).install_skills
            assert [result.success for result in install("project")] == [True] * 3
            gc.collect()
            sys._clear_type_cache()
            before = sys.getallocatedblocks() if number == 0 else before
        return sys.getallocatedblocks() - before

    prepare(ROOT, {})
    failures = 0
    for absent in ("muvad_tarnel.setup.config", "pathlib", "dataclasses", "re", "itertools") * 20:
        with mock.patch.dict(sys.modules, {absent: None}), contextlib.suppress(ImportError):
            fresh_module(FILE)
            failures -= 1
        failures += 1
    methods = {name: mock.Mock(return_value=False) for name in ("exists", "mkdir", "write_text")}
    with mock.patch.multiple(Path, **methods):
        skill = fresh_module(FILE)
        skill.install_skills("project")
    assert [method.call_count for method in methods.values()] == [3, 3, 3]
    assert not any(Path.cwd().iterdir()), "the disk is as it was"
    assert all(result.installed for result in skill.install_skills("project"))
    blocks, allowed = grown(FILE), grown(str(plain_skill.__file__))
    if blocks > max(allowed, 0):
        sys.stdout.write(f"{blocks} blocks more after 100 imports, and {allowed} more with plain Python\n")
    return {"imports": 100, "failures": failures}


class AtEnd:
    """Calls a function when it is deleted."""

    def __init__(self, call: Callable[[], object]) -> None:
        self.call = call

    def __del__(self) -> None:
        self.call()


def end() -> None:
    """Use the module in successive stages of interpreter shutdown, and print the outcomes."""
    skill = fresh_module(FILE)
    install = skill.install_skills

    def use(when: str, write: Callable[[int, bytes], int] = os.write) -> Callable[[], object]:
        def call() -> None:
            try:
                told = f"{install('project', force=True)}"
            except Exception as error:  # noqa: BLE001  # anything may fail this late
                told = f"{type(error)}"
            write(1, f"{when}: {told}\n".encode())

        return call

    atexit.register(use("registered"))
    weakref.finalize(sys.modules["__main__"], use("finalized"))
    for module in ("__main__", "sys", "builtins"):
        vars(sys.modules[module])["at_end"] = AtEnd(use(module))


def end_with_daemons(call: str) -> dict[str, int]:
    """Threads enter the system call before interpreter shutdown begins, and return from it before shutdown ends."""
    shim = importlib.import_module("shim")  # requires the preloaded library
    skill = fresh_module(FILE)
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


QUESTIONS: dict[str, Callable[..., dict[str, int] | None]] = {
    "leaks": count_leaks,
    "eight interpreters": use_eight_interpreters,
    "memory": count_memory,
    "imports": count_imports,
    "end": end,
    "daemons": end_with_daemons,
}
sys.stdout.write(f"{json.dumps(QUESTIONS[QUESTION](*MORE))}\n")
