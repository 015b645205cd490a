"""The variants that are compared: the module in plain Python, compiled, and as the extension; and the floor."""

import ctypes
import importlib
import subprocess
import sys
from itertools import accumulate
from pathlib import Path
from time import perf_counter_ns
from timeit import Timer
from types import ModuleType
from typing import Any

import muvad_tarnel.setup
from rows import IMPORT
from workloads import Operation, Workload

NAME = "muvad_tarnel.setup.skill"
# The module's imports. Imported first, so that only the module's own import time is measured.
IMPORTS = ("__future__", "collections.abc", "dataclasses", "itertools", "pathlib", "re", "muvad_tarnel.setup.config")


def load(folder: Path) -> ModuleType:
    """The module in `folder`, imported under its usual name and removed from sys.modules."""
    muvad_tarnel.setup.__path__.insert(0, str(folder))
    try:
        return importlib.import_module(NAME)
    finally:
        del muvad_tarnel.setup.__path__[0], sys.modules[NAME]


def import_time(folder: Path) -> float:
    """Nanoseconds to import the module in `folder` in a new process, without the imports of other modules."""
    program = f"import {', '.join(IMPORTS)}; muvad_tarnel.setup.__path__.insert(0, {str(folder)!r}); import {NAME}"
    command = (sys.executable, "-S", "-X", "importtime", "-c", program)
    printed = subprocess.run(command, capture_output=True, text=True, check=True).stderr
    own = [line.split("|") for line in printed.splitlines() if line.split("|")[-1].strip().startswith(NAME)]
    return sum(1000 * float(time.removeprefix("import time:")) for time, _, _ in own)


class ModuleVariant:
    """A build of the module."""

    def __init__(self, folder: Path) -> None:
        """Load the module in `folder`."""
        self.folder = folder
        self.module = load(folder)
        self.timers: dict[str, tuple[Timer, dict[str, Any]]] = {}

    def prepare(self, workload: Workload, calls: int) -> tuple[Timer, dict[str, Any]]:
        """The workload's timer, ready for the calls, and the statement's globals."""
        if workload.name not in self.timers:
            names = vars(self.module) | workload.names
            self.timers[workload.name] = Timer(workload.statement, timer=perf_counter_ns, globals=names), names
        vars(self.module)["AGENT_CONFIG"] = workload.table
        timer, names = self.timers[workload.name]
        names["projects"] = iter(workload.prepare(calls))
        return timer, names

    def answer(self, workload: Workload) -> Any:
        """The result of the workload's statement."""
        if workload is IMPORT:
            return None
        return eval(workload.statement, self.prepare(workload, 1)[1])  # noqa: S307  # our own text

    def sample(self, workload: Workload, calls: int) -> float:
        """Nanoseconds per call."""
        if workload is IMPORT:
            return import_time(self.folder)
        return self.prepare(workload, calls)[0].timeit(calls) / calls


class COperation(ctypes.Structure):
    """`struct operation`."""

    _fields_ = (
        ("kind", ctypes.c_int),
        ("path", ctypes.c_char_p),
        ("content", ctypes.c_char_p),
        ("size", ctypes.c_size_t),
        ("result", ctypes.c_long),
    )


class CPlanning(ctypes.Structure):
    """`struct planning`."""

    _fields_ = (
        ("agents", ctypes.c_int),
        ("starts", ctypes.POINTER(ctypes.c_int)),
        ("directories", ctypes.POINTER(ctypes.c_int)),
    )


KINDS = ("exists", "read", "make directory", "write")
MOST_SEARCHED = 12


class Floor:
    """The C library that does the minimum work."""

    def __init__(self, file: Path) -> None:
        """Load the library in `file`."""
        self.library = ctypes.CDLL(str(file))
        for name in ("run_operations", "run_search", "run_greedy"):
            getattr(self.library, name).restype = ctypes.c_double
        self.made: dict[str, Any] = {}

    def answer(self, workload: Workload) -> Any:
        """The directories chosen, or the results of the operations."""
        if workload.plans:
            _, chosen, candidates = self.planning(workload)
            self.sample(workload, 1)
            return [candidate for candidate, mark in zip(candidates, chosen, strict=False) if mark == b"\1"]
        operations = self.operations(workload, 1)
        self.library.run_operations(operations, len(operations), ctypes.c_long(1))
        return [operation.result for operation in operations]

    def expected_results(self, workload: Workload) -> list[int]:
        """The results that the operations should have, computed from the files in Python."""
        results = []
        for step in workload.operations(workload.prepare(1)):
            size = step.path.stat().st_size if step.path.exists() else -1
            results.append({"exists": min(size, 0), "read": size, "write": len(step.content)}.get(step.kind, 0))
        return results

    def sample(self, workload: Workload, calls: int) -> float:
        """Nanoseconds per call."""
        if not workload.plans:
            operations = self.operations(workload, calls)
            loops = 1 if workload.fresh else calls
            return float(self.library.run_operations(operations, len(operations), ctypes.c_long(loops))) / calls
        planning, chosen, candidates = self.planning(workload)
        if len(candidates) <= MOST_SEARCHED:
            return float(self.library.run_search(ctypes.byref(planning), chosen, ctypes.c_long(calls))) / calls
        return float(
            self.library.run_greedy(ctypes.byref(planning), chosen, len(candidates), ctypes.c_long(calls)) / calls
        )

    def operations(self, workload: Workload, calls: int) -> Any:
        """The operations of one call, or of all calls if each has its own project."""
        projects = workload.prepare(calls)
        if workload.name not in self.made or workload.fresh:
            steps = workload.operations(projects)
            self.made[workload.name] = (COperation * len(steps))(*map(c_operation, steps))
        return self.made[workload.name]

    def planning(self, workload: Workload) -> tuple[CPlanning, Any, list[str]]:
        """The agents' directories as numbers, a buffer for the chosen ones, and the candidates."""
        if workload.name not in self.made:
            roots = [agent.skills_project_roots for agent in workload.table.values()]
            candidates = sorted({root for own in roots for root in own})
            numbers = {candidate: number for number, candidate in enumerate(candidates)}
            starts = [0, *accumulate(map(len, roots))]
            directories = [numbers[root] for own in roots for root in own]
            self.made[workload.name] = (
                CPlanning(
                    len(roots),
                    (ctypes.c_int * len(starts))(*starts),
                    (ctypes.c_int * len(directories))(*directories),
                ),
                (ctypes.c_char * max(len(candidates), 64))(),
                candidates,
            )
        made: tuple[CPlanning, Any, list[str]] = self.made[workload.name]
        return made


def c_operation(step: Operation) -> COperation:
    """Convert an operation for C."""
    return COperation(KINDS.index(step.kind), bytes(step.path), step.content, len(step.content), 0)
