"""Count what doesn't depend on the machine's load: system calls (strace) and instructions (callgrind) per workload.

The extension's counts must not exceed the recorded ceilings: system calls exactly, instructions with a margin. Ceilings
are recorded for one version of Python, compiler and C library; other versions may need other ceilings.
"""

import argparse
import json
import os
import re
import subprocess
import sys
import tempfile
from collections import defaultdict
from pathlib import Path

from results import markdown

BENCH = Path(__file__).resolve().parent
CEILINGS = BENCH / "ceilings.json"
MARGINS = {"system calls": 1.0, "instructions": 1.1}
type Counts = dict[str, dict[str, int]]  # per call, by workload and variant


def trace(tracer: tuple[str, ...], peers: Path, variants: list[str]) -> None:
    """Run the marked calls under a tracer, in a fixed environment."""
    environment = {"PATH": os.environ["PATH"], "PYTHONPATH": str(BENCH.parent / "src")}
    environment |= {"PYTHONHASHSEED": "0", "PYTHONDONTWRITEBYTECODE": "1"}
    program = (sys.executable, "-S", str(BENCH / "marked_calls.py"), str(peers), tracer[0], *variants)
    done = subprocess.run((*tracer, *program), env=environment, capture_output=True, text=True, check=False)
    if done.returncode:
        sys.exit(f"{done.stderr}bench: {tracer[0]} failed")


def system_calls(peers: Path, variants: list[str]) -> Counts:
    """System calls per call, except those that only concern memory."""
    with tempfile.NamedTemporaryFile("r", encoding="utf-8") as output:
        trace(("strace", "-qq", "-e", "trace=!%memory", "-e", "signal=none", "-o", output.name), peers, variants)
        lines = output.readlines()
    totals, since_mark = {}, 0
    for line in lines:
        mark = re.match(r'access\("mark (.*)"', line)
        if mark:
            totals[mark[1]] = since_mark
        since_mark = 0 if mark else since_mark + 1
    return per_call(totals)


def instructions(peers: Path, variants: list[str]) -> Counts:
    """Instructions per call."""
    with tempfile.TemporaryDirectory() as folder:
        trace(("valgrind", "--tool=callgrind", f"--callgrind-out-file={folder}/part"), peers, variants)
        totals = {}
        for file in sorted(Path(folder).glob("part.*"), key=lambda file: int(file.suffix[1:])):
            head = re.search(r"Client Request: (.*)\n(?:.*\n)*?summary: (\d+)", file.read_text(encoding="utf-8"))
            assert head
            totals[head[1]] = int(head[2])
    return per_call(totals)


def per_call(totals: dict[str, int]) -> Counts:
    """Counts per call from the totals by mark. The difference between n and 3 n calls cancels everything else out."""
    seen: dict[tuple[str, str], list[tuple[int, int]]] = defaultdict(list)
    for mark, total in totals.items():
        if "/" in mark:
            workload, variant, calls = mark.split("/")
            seen[workload, variant].append((int(calls), total))
    counts: Counts = defaultdict(dict)
    for (workload, variant), marks in seen.items():
        (few, least), (many, most) = min(marks), max(marks)
        counts[workload][variant] = round((most - least) / (many - few)) if many > few else least
    return counts


def table_of(kind: str, counts: Counts, ceilings: dict[str, int]) -> str:
    """The counts of one kind, with those above their ceiling marked."""
    variants = sorted({variant for by_variant in counts.values() for variant in by_variant})
    rows: list[tuple[str, ...]] = [("workload", *variants, "ceiling", "")]
    for workload, by_variant in counts.items():
        ceiling = ceilings.get(workload)
        values = (*map(by_variant.get, variants), ceiling)
        mark = "above" if exceeds(kind, by_variant["extension"], ceiling) else ""
        rows.append((workload, *("" if value is None else f"{value:,}" for value in values), mark))
    return f"{kind} per call\n\n{markdown(rows)}"


def exceeds(kind: str, count: int, ceiling: int | None) -> bool:
    """Whether a count exceeds its ceiling plus the margin for its kind, or has no ceiling."""
    return ceiling is None or count > ceiling * MARGINS[kind]


def main() -> None:
    """Count, print, and compare with the ceilings or record new ones."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("peers", type=Path, help="folder of what was built to compare")
    parser.add_argument("--check", action="store_true", help="leave plain Python out, which takes half the time")
    parser.add_argument("--record", action="store_true", help="make these counts the ceilings")
    options = parser.parse_args()
    variants = ["extension"] if options.check else ["python", "extension"]
    kinds = {"system calls": system_calls, "instructions": instructions}
    counts = {kind: count(options.peers.resolve(), variants) for kind, count in kinds.items()}
    if options.record:
        ceilings = {kind: {row: of[row]["extension"] for row in of} for kind, of in counts.items()}
        CEILINGS.write_text(json.dumps(ceilings, indent=2) + "\n", encoding="utf-8")
    ceilings = json.loads(CEILINGS.read_text(encoding="utf-8"))
    print("\n".join(table_of(kind, of, ceilings[kind]) for kind, of in counts.items()))
    above = [
        f"{row}: {kind}"
        for kind, of in counts.items()
        for row in of
        if exceeds(kind, of[row]["extension"], ceilings[kind].get(row))
    ]
    if above:
        sys.exit("bench: more than recorded in bench/ceilings.json: " + "; ".join(above))


if __name__ == "__main__":
    main()
