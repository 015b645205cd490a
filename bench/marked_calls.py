"""Call every workload between marks. count_calls.py runs this under strace and callgrind, which count between marks.

A mark's name says what ran since the previous mark: `workload/variant/calls`, or "nothing". The arguments are the
folder of the peers, the tracer, and the variants of the module, which include the extension.
"""

import ctypes
import importlib
import os
import re
import sys
from collections.abc import Callable
from pathlib import Path

from compare import temporary_folder
from rows import IMPORT, ROWS
from variants import IMPORTS, Floor, ModuleVariant

type Mark = Callable[[str], object]
NOTHING = "nothing"


def mark_imports(peers: Path, names: list[str], mark: Mark) -> dict[str, ModuleVariant]:
    """Import the variants of the module."""
    for imported in IMPORTS:
        importlib.import_module(imported)
    modules = {}
    for name in names:
        re.purge()  # each variant compiles its own patterns
        mark(NOTHING)
        modules[name] = ModuleVariant(peers / name)
        mark(f"{IMPORT.name}/{name}/1")
    return modules


def mark_calls(modules: dict[str, ModuleVariant], mark: Mark, base: Path) -> None:
    """Call each workload n and 3 n times, after a warm-up."""
    for row in ROWS[1:]:
        row.lay_out(base, modules["extension"].module)
        for name, module in modules.items():
            for calls in (row.counted, row.counted, 3 * row.counted):
                timer, _ = module.prepare(row, calls)
                mark(NOTHING)
                timer.timeit(calls)
                mark(f"{row.name}/{name}/{calls}")


def mark_floor(floor: Floor, mark: Mark) -> None:
    """Run the floor's operations for each workload, on the files created for it."""
    for row in ROWS:
        if row.files:
            operations = floor.operations(row, 1)
            mark(NOTHING)
            floor.library.run_operations(operations, len(operations), ctypes.c_long(1))
            mark(f"{row.name}/floor/1")


def main() -> None:
    """Choose the mark for the tracer, a system call for strace or a request to callgrind, and run everything."""
    peers, tracer, *names = Path(sys.argv[1]), *sys.argv[2:]
    probe = ctypes.CDLL(str(peers / "probe.so"))
    marks: dict[str, Mark] = {
        "strace": lambda name: os.access(f"mark {name}", os.F_OK),
        "valgrind": lambda name: probe.mark(name.encode()),
    }
    mark = marks[tracer]
    modules = mark_imports(peers, names, mark)
    with temporary_folder() as base:
        mark_calls(modules, mark, base)
        if tracer == "strace":
            mark_floor(Floor(peers / "floor.so"), mark)


if __name__ == "__main__":
    main()
