"""Call every workload between marks: what count_calls.py runs under strace and callgrind, which count between them.

A mark's name tells what was done since the last: `workload/variant/calls`, or nothing that matters. The arguments are
the folder of the peers, the tracer and the variants of the module, the extension among them.
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
        re.purge()  # each compiles its own patterns
        mark(NOTHING)
        modules[name] = ModuleVariant(peers / name)
        mark(f"{IMPORT.name}/{name}/1")
    return modules


def mark_calls(modules: dict[str, ModuleVariant], mark: Mark, base: Path) -> None:
    """Call each workload n and 3 n times, having called it before."""
    for row in ROWS[1:]:
        row.lay_out(base, modules["extension"].module)
        for name, module in modules.items():
            for calls in (row.counted, row.counted, 3 * row.counted):
                timer, _ = module.prepare(row, calls)
                mark(NOTHING)
                timer.timeit(calls)
                mark(f"{row.name}/{name}/{calls}")


def mark_floor(floor: Floor, mark: Mark) -> None:
    """Take what each workload can't do without, on the files that were laid out."""
    for row in ROWS:
        if row.files:
            operations = floor.operations(row, 1)
            mark(NOTHING)
            floor.library.run_operations(operations, len(operations), ctypes.c_long(1))
            mark(f"{row.name}/floor/1")


def main() -> None:
    """Make the marks that suit the tracer: a system call for strace, a request to callgrind."""
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
