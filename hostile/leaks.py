"""Whether calls leave anything behind. Arguments: the extension's file, "fast" or "slow", and calls per round.

Prints its complaints, and at the end what it counted.
"""

import contextlib
import ctypes
import functools
import gc
import inspect
import itertools
import json
import os
import sys
import tempfile
from array import array
from collections.abc import Callable, Iterator
from pathlib import Path
from types import FunctionType, ModuleType
from typing import Any
from unittest import mock

from fresh_module import fresh_module
from muvad_tarnel.setup import config

EXTENSION, WAY, CALLS = sys.argv[1], sys.argv[2], int(sys.argv[3])
ROUNDS = 5
KEYS = ["claude", "cursor"]


class MallocState(ctypes.Structure):
    """`struct mallinfo2`, whose eighth field are the bytes in use, those of C++ among them."""

    _fields_ = [(f"field_{number}", ctypes.c_size_t) for number in range(1, 11)]


mallinfo = ctypes.CDLL(None).mallinfo2
mallinfo.restype = MallocState

MEASURES: dict[str, Callable[[list[object]], int]] = {
    "memory blocks": lambda _: sys.getallocatedblocks(),
    "references": lambda watched: sum(map(sys.getrefcount, watched)),
    "descriptors": lambda _: len(os.listdir("/proc/self/fd")),  # noqa: PTH208  # it may be replaced
    "bytes of malloc": lambda _: int(mallinfo().field_8),
}


def functions_of(module: ModuleType) -> Iterator[FunctionType]:
    for value in vars(module).values():
        if isinstance(value, FunctionType) and value.__globals__ is vars(module):
            yield value


def cases_of(skill: ModuleType, root: Path) -> Iterator[tuple[str, Callable[[], object]]]:
    """Each function with what fits it, with an odd value in place of each argument, with one too few or too many."""
    (file := root / "file").write_bytes(b"\xff")
    fitting: dict[str, Any] = {"agents": KEYS, "agent_keys": KEYS, "agent_roots": {"a": ("x", "y"), "b": ("y",)}}
    fitting |= {"selection": ("x",), "scope": "project", "project_root": root, "path": file, "v": "1.2", "version": "1"}
    fitting |= {"skill_name": "tarnel", "skills_dir": ".a/s", "force": True, "dry_run": False}
    for function in functions_of(skill):
        given = {name: fitting[name] for name in inspect.signature(function).parameters}
        yield function.__name__, functools.partial(function, **given)
        for name, value in given.items():
            for odd in (object(), ("x", 3)):
                yield f"{function.__name__}, odd {name}", functools.partial(function, **given | {name: odd})
            yield f"{function.__name__}, unknown {name}s", functools.partial(function, **{**given, name + "s": value})
        yield f"{function.__name__}, too many", functools.partial(function, *given.values(), root, root)
    (body,) = filter(callable, skill._score.__code__.co_consts)
    yield "body called", lambda: body(root)
    yield "unreadable copy", lambda: skill._installed_version(root)
    yield "failing install", lambda: skill.install_skill("project", file)
    yield "user scope, up to date", skill.install_skills


def broken_cases_of(skill: ModuleType, root: Path) -> Iterator[tuple[str, Callable[[], object]]]:
    del skill.SKILL_TEMPLATES
    vars(skill)["_scope_base"] = skill.skill_target_path
    yield "missing name", lambda: skill.render_skill_md("1")
    yield "endless recursion", lambda: skill.skill_target_path("user", root)


def growth(case: Callable[[], object], calls: int, watched: list[object]) -> dict[str, list[int]]:
    """How much more there is of everything after each round."""
    totals = [array("q", bytes(8 * (1 + ROUNDS))) for _ in MEASURES]  # which take no blocks when they are set
    for number in range(1 + ROUNDS):
        for _ in range(calls if number else min(calls, 500)):
            with contextlib.suppress(Exception):
                case()
        gc.collect()
        sys._clear_type_cache()  # it owns names, more of them as time goes by
        for measure, total in zip(MEASURES.values(), totals, strict=True):
            total[number] = measure(watched)
    return {kind: [b - a for a, b in itertools.pairwise(total)] for kind, total in zip(MEASURES, totals, strict=True)}


def run(root: Path) -> dict[str, int]:
    os.environ["HOME"] = str(root)
    sys.setrecursionlimit(60)
    module, broken = (fresh_module(EXTENSION) for _ in range(2))
    watched: list[object] = [root, *config.AGENT_CONFIG.values(), KeyError, TypeError, NameError]
    for value in [*vars(module).values(), *vars(broken).values()]:
        watched.append(value)
        if isinstance(value, FunctionType):
            watched += [*(value.__defaults__ or ()), *(value.__kwdefaults__ or {}).values()]
    cases = dict(cases_of(module, root)) | dict(broken_cases_of(broken, root))
    if WAY == "slow":
        for function in (*functions_of(module), *functions_of(broken)):
            function.__code__ = function.__code__.replace()
        mock.patch.object(Path, "exists", functools.partialmethod(Path.exists)).start()
    gc.freeze()
    counted = {"functions": len(list(functions_of(module))), "cases": 0, "calls": 0}
    for name, case in cases.items():
        calls = CALLS // 20 if "recursion" in name else CALLS
        for kind, steps in growth(case, calls, watched).items():
            if min(steps) > 0 or max(steps) < 0:
                sys.stdout.write(f"{name}, {WAY}: {kind} per {calls} calls: {steps}\n")
        counted["cases"] += 1
        counted["calls"] += ROUNDS * calls
    return counted


with tempfile.TemporaryDirectory() as directory:
    sys.stdout.write(json.dumps(run(Path(directory))) + "\n")
