"""What test_isolation.py asks, in a process that may crash. Arguments: the question and the extension's file.

Prints its complaints; the line at the end says that it got there.
"""

import contextlib
import functools
import gc
import importlib
import itertools
import sys
import tempfile
import threading
import time
from collections.abc import Callable
from pathlib import Path
from types import FunctionType, ModuleType
from unittest import mock

import muvad_tarnel
from fresh_module import fresh_module
from muvad_tarnel.setup import config

EXTENSION = sys.argv[2]
ROOTS = {"a": ("x", "y"), "b": ("y",)}

IN_AN_INTERPRETER = """
import sys
sys.path[:] = {path!r}
from fresh_module import fresh_module
skill = fresh_module({file!r})
root = skill.Path({root!r})
for _ in range(3):
    assert all(result.success for result in skill.install_skills("project", root, force=True))
skill.install_skill = lambda *_, **keywords: [sys.intern(str(name.encode(), "ascii")) is name for name in keywords]
assert skill.install_skills("project", root) == [[True] * 5] * 3  # no string of another interpreter
"""


def run_interpreters() -> None:
    """Several at once, all but one with a GIL of their own; this one uses the module after them, then beside them."""

    def run(isolated: bool) -> None:
        with tempfile.TemporaryDirectory() as root:
            interpreter = support.create(isolated=isolated)
            support.run_string(interpreter, IN_AN_INTERPRETER.format(path=path, file=EXTENSION, root=root))
            support.destroy(interpreter)

    support = importlib.import_module("_xxsubinterpreters")
    path = [*sys.path, str(Path(muvad_tarnel.__file__).parents[1])]
    for _ in range(2):
        threads = [threading.Thread(target=run, args=(isolated,)) for isolated in (True, True, True, False)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert fresh_module(EXTENSION).resolve_skill_dirs(["claude"]) == [".claude/skills"]


def calls_of(skill: ModuleType, nameless: ModuleType, root: Path) -> dict[str, Callable[[], object]]:
    """Successful calls, and one for each way of failing; `nameless` lacks the names it would need."""
    (file := root / "file").write_bytes(b"\xff")
    (body,) = filter(callable, skill._score.__code__.co_consts)
    return {
        "installing": lambda: skill.install_skills("project", root, force=True),
        "status": lambda: skill.skill_status(project_root=root, agents=["claude", "cursor"]),
        "shadowing": lambda: skill.shadowed_skills(root),
        "planning": lambda: skill.skill_dir_plan(["claude", "cursor"], scope="user"),
        "unknown skill": lambda: skill.render_skill_md(skill_name="none"),
        "unknown scope": lambda: skill.skill_target_path("nowhere", root),
        "undecodable copy": lambda: skill._installed_version(file),
        "unreadable copy": lambda: skill._installed_version(root),
        "failing install": lambda: skill.install_skill("project", file),
        "missing name": lambda: nameless.render_skill_md("1"),
        "wrong types": lambda: skill._score(("x",), {"a": ("x",), "b": 3}),
        "missing argument": lambda: skill._score(("x",)),
        "surplus argument": lambda: skill._score(("x",), ROOTS, root),
        "argument twice": lambda: skill._score(("x",), ROOTS, selection=root),
        "unknown argument": lambda: skill._score(("x",), agent_roots=ROOTS, unknown=root),
        "body called": lambda: body(root),
        "endless recursion": lambda: nameless.skill_target_path("user", root),
    }


def count_leaks() -> None:
    """A leak grows, or shrinks, with every call in every round; what changes now and then is some cache."""
    calls, rounds = 12, 3
    with tempfile.TemporaryDirectory() as directory:
        root, without_table = Path(directory), {config.__name__: None}
        cases: dict[str, Callable[[], object]] = {
            "import": functools.partial(fresh_module, EXTENSION),
            "failing import": functools.partial(mock.patch.dict(sys.modules, without_table)(fresh_module), EXTENSION),
            "use after the module": lambda: fresh_module(EXTENSION).skill_target_path("project", root),
        }
        watched: list[object] = [root, *ROOTS.values(), *config.AGENT_CONFIG.values(), KeyError, TypeError, NameError]
        for way in ("fast", "slow"):
            modules = [fresh_module(EXTENSION) for _ in range(2)]
            values = [value for module in modules for value in vars(module).values()]
            watched += values
            for function in (value for value in values if isinstance(value, FunctionType)):
                watched += [*(function.__defaults__ or ()), *(function.__kwdefaults__ or {}).values()]
                if way == "slow" and function.__globals__ in map(vars, modules):
                    function.__code__ = function.__code__.replace()
            del modules[1].SKILL_TEMPLATES
            vars(modules[1])["_scope_base"] = modules[1].skill_target_path
            cases |= {f"{name}, {way} call path": case for name, case in calls_of(modules[0], modules[1], root).items()}
        gc.freeze()
        for name, case in cases.items():
            counts = []
            for _ in range(1 + rounds):
                for _ in range(calls):
                    with contextlib.suppress(Exception):
                        case()
                gc.collect()
                sys._clear_type_cache()  # it owns names, more of them as time goes by
                counts.append((sys.getallocatedblocks(), sum(map(sys.getrefcount, watched))))
            for kind, totals in zip(("memory blocks", "references"), zip(*counts, strict=True), strict=True):
                steps = [after - before for before, after in itertools.pairwise(totals)]
                if min(map(abs, steps)) > calls / 2:
                    sys.stdout.write(f"{name}: {kind} per {calls} calls: {steps}\n")


def end_with_daemons() -> None:
    """The interpreter ends each thread where it next asks for the GIL: somewhere in a call."""

    def call() -> None:
        while True:
            skill.skill_status()

    skill = fresh_module(EXTENSION)
    for _ in range(8):
        threading.Thread(target=call, daemon=True).start()
    time.sleep(0.1)


QUESTIONS = {"interpreters": run_interpreters, "leaks": count_leaks, "daemons": end_with_daemons}
QUESTIONS[sys.argv[1]]()
sys.stdout.write("done\n")
