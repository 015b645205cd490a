"""Compare the extension with the same module in plain Python, Cython and mypyc, and with the floor.

First, the answers of all variants are compared and must be equal. Then the variants are timed in turn, over many
rounds, and the minimum time of each counts.
"""

import argparse
import tempfile
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from results import Times, publish, table_of
from rows import ROWS
from variants import Floor, ModuleVariant
from workloads import Workload

SAMPLE = 1e6  # nanoseconds per sample, unless one call takes longer
MODULES = ("python", "cython", "mypyc", "extension")


def files_in(folder: Path) -> dict[Path, bytes | None]:
    """Everything below a folder: content by path, None for directories."""
    return {path: path.read_bytes() if path.is_file() else None for path in sorted(folder.rglob("*"))}


def check_answers(workload: Workload, modules: dict[str, ModuleVariant], floor: Floor) -> None:
    """Exit unless all variants give the same answer and leave the same files."""
    expected = modules["python"].answer(workload)
    files = files_in(workload.project)

    def check(name: str, answer: object, wanted: object) -> None:
        if repr(answer) != repr(wanted):  # their SkillResult classes differ
            raise SystemExit(f"bench: {workload.name}: {name} gives {answer}, not {wanted}")
        if files_in(workload.project) != files:
            raise SystemExit(f"bench: {workload.name}: {name} leaves other files in {workload.project}")

    for name, module in modules.items():
        check(name, module.answer(workload), expected)
    if workload.has_floor:
        least = list(expected) if workload.plans else floor.expected_results(workload)
        check("the floor", floor.answer(workload), least)


def measure(workloads: list[Workload], modules: dict[str, ModuleVariant], floor: Floor, rounds: int) -> list[Times]:
    """The minimum nanoseconds per call of every variant, for each workload."""
    plans = []
    for workload in workloads:
        variants = modules | ({"floor": floor} if workload.has_floor else {})
        calls = {name: max(1, int(SAMPLE / variant.sample(workload, 2))) for name, variant in variants.items()}
        plans.append((workload, variants, calls))
    times: list[Times] = [{} for _ in workloads]
    for number in range(rounds):
        for (workload, variants, calls), least in zip(plans, times, strict=True):
            names = list(variants)
            for name in names[number % len(names) :] + names[: number % len(names)]:  # rotate which variant goes first
                sample = variants[name].sample(workload, calls[name])
                least[name] = min(sample, least.get(name, sample))
    return times


@contextmanager
def temporary_folder() -> Iterator[Path]:
    """A folder in memory if the system has one, so that the disk is not measured."""
    memory = Path("/dev/shm")  # noqa: S108  # not a temporary file with a fixed name
    with tempfile.TemporaryDirectory(prefix="bench-", dir=memory if memory.is_dir() else None) as folder:
        yield Path(folder)


def main() -> None:
    """Compare and print."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("peers", type=Path, help="folder of what was built to compare")
    parser.add_argument("--rounds", type=int, default=60)
    parser.add_argument("--rows", default="", help="only rows whose name has this text")
    parser.add_argument("--write", action="store_true", help="put the table into docs/performance.md")
    options = parser.parse_args()
    peers = options.peers.resolve()
    modules = {name: ModuleVariant(peers / name) for name in MODULES}
    floor = Floor(peers / "floor.so")
    with temporary_folder() as base:
        rows = [row for row in ROWS if options.rows in row.name]
        for row in rows:
            row.lay_out(base, modules["python"].module)
            check_answers(row, modules, floor)
        table = table_of(rows, measure(rows, modules, floor, options.rounds))
        print(f"files in {base.parent}, {options.rounds} rounds\n\n{table}")
    if options.write:
        publish(table)


if __name__ == "__main__":
    main()
