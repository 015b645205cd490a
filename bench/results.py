"""The results table: fractions of plain Python's time, with required and target values."""

from datetime import UTC, datetime
from pathlib import Path

from workloads import Workload

type Times = dict[str, float]  # nanoseconds per call, by variant
PAGE = Path(__file__).resolve().parents[1] / "docs/performance.md"
START, END = "<!-- table of make bench -->\n", "<!-- end of the table -->\n"
HEAD = ("workload", "Cython", "mypyc", "extension", "floor", "excess", "must", "aim", "")


def share(value: float | None) -> str:
    """A fraction with two significant digits, or two decimals from 1 on: 1.23, .45, .067."""
    if value is None:
        return ""
    digits = 2 if abs(value) >= 0.095 else 3 if abs(value) >= 0.0095 else 4
    return f"{value:.{digits}f}".replace("0.", ".", 1) if abs(value) < 1 else f"{value:.2f}"


def row_of(workload: Workload, times: Times) -> tuple[str, ...]:
    """One row, marked if the extension misses the required value."""
    cython, mypyc, extension, *floor = (times[name] / times["python"] for name in times if name != "python")
    excess = extension - floor[0] if workload.files else None
    figure = extension if excess is None else excess
    mark = "misses" if workload.must is not None and figure > workload.must else ""
    values = (cython, mypyc, extension, floor[0] if floor else None, excess, workload.must, workload.aim)
    return (workload.name, *map(share, values), mark)


def table_of(workloads: list[Workload], times: list[Times]) -> str:
    """The table of all rows."""
    return markdown([HEAD, *map(row_of, workloads, times)])


def markdown(rows: list[tuple[str, ...]]) -> str:
    """A Markdown table with aligned columns. The first row is the header."""
    widths = [max(3, *map(len, column)) for column in zip(*rows, strict=True)]
    lines = ["| " + " | ".join((row[0].ljust(widths[0]), *map(str.rjust, row[1:], widths[1:]))) + " |" for row in rows]
    rule = "|" + "|".join(["-" * (widths[0] + 2), *("-" * (width + 1) + ":" for width in widths[1:])]) + "|"
    return "\n".join([lines[0], rule, *lines[1:]]) + "\n"


def publish(table: str) -> None:
    """Write the table, with today's date, between the markers on its page."""
    before, _, rest = PAGE.read_text(encoding="utf-8").partition(START)
    _, _, after = rest.partition(END)
    day = datetime.now(tz=UTC).date()
    PAGE.write_text(f"{before}{START}Measured on {day}:\n\n{table}{END}{after}", encoding="utf-8")
