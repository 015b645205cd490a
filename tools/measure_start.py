"""Measure how much longer commands take, their output in a pipe, than importing what they stand on: click, the module.

    python tools/measure_start.py [RUNS]

The aim is 15 ms at most. Both are started in turn, and the fastest run of each is compared: other work on the machine
only ever makes a run slower.
"""

import os
import subprocess
import sys
import time
from pathlib import Path
from tempfile import TemporaryDirectory

BASE = [sys.executable, "-c", "import click, muvad_tarnel.setup.skill"]
COMMANDS = ["status", "status --json", "status --all-agents --json", "install", "plan", "shadowed", "diff", "agents"]


def main() -> None:
    """Print a line for every command."""
    runs = int(sys.argv[1]) if len(sys.argv) > 1 else 20
    with TemporaryDirectory() as home:
        # Compiled files are written once, as an installation does, whatever the caller's environment says.
        environment = {"HOME": home, "PATH": os.defpath, "PYTHONPYCACHEPREFIX": str(Path(home) / "compiled")}

        def fastest(command: list[str], other: list[str]) -> tuple[float, float]:
            times: tuple[list[float], list[float]] = ([], [])
            for _ in range(runs + 1):  # the first of each compiles
                for argv, taken in zip((command, other), times, strict=True):
                    start = time.perf_counter()
                    subprocess.run(argv, check=False, capture_output=True, env=environment, cwd=home)
                    taken.append(1000 * (time.perf_counter() - start))
            return min(times[0][1:]), min(times[1][1:])

        for line in COMMANDS:
            program = [sys.executable, "-m", "muvad_tarnel", "skill", *line.split()]
            taken, base = fastest(program, BASE)
            print(f"{line:<28} {taken:6.1f} ms, {taken - base:+6.1f} ms to the import alone")


if __name__ == "__main__":
    main()
