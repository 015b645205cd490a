"""Reports on a terminal: tables drawn by rich, marks and colours."""

from itertools import groupby
from shutil import get_terminal_size

from rich import box
from rich.console import Console, Group
from rich.table import Table as Grid
from rich.text import Text

from muvad_tarnel.output.console import Style, printable
from muvad_tarnel.output.report import Block, Cell, Document, Line, Table, Tone

_STYLES = {Tone.GOOD: "green", Tone.WARNING: "yellow", Tone.BAD: "red", Tone.NEUTRAL: ""}
_MARKS = {Tone.GOOD: "\N{CHECK MARK}", Tone.WARNING: "!", Tone.BAD: "\N{BALLOT X}", Tone.NEUTRAL: ""}
_ASCII_MARKS = {Tone.GOOD: "+", Tone.WARNING: "!", Tone.BAD: "x", Tone.NEUTRAL: ""}


def drawn(blocks: list[Block], style: Style) -> str:
    """The blocks as a terminal of the present width shows them."""
    console = Console(
        force_terminal=True,
        color_system="standard" if style.has_colour else None,
        width=get_terminal_size().columns,
        markup=False,
        emoji=False,
        highlight=False,
        legacy_windows=False,
    )
    with console.capture() as capture:
        draw(console, blocks, style)
    return "".join(line.rstrip(" ") + "\n" for line in capture.get().splitlines())


def draw(console: Console, blocks: list[Block], style: Style) -> None:
    """Draw the blocks on a console, tables set apart by an empty line."""
    marks = _MARKS if style.has_marks else _ASCII_MARKS
    former: Block | None = None
    for block in blocks:
        if former and (isinstance(block, Table) or isinstance(former, Table)):
            console.print()
        match block:
            case Table():
                console.print(grid_of(block, marks, "\u2500" if style.has_marks else "-"))
            case Line(text, tone):
                console.print(line_of(text, tone, marks))
            case Document(text, is_diff):
                for line in text.splitlines():
                    console.print(Text(line, diff_style(line) if is_diff else ""), soft_wrap=True)
        former = block


def line_of(text: str, tone: Tone, marks: dict[Tone, str]) -> Text | Grid:
    """A sentence behind its mark; a neutral one may be a command, which is never broken."""
    if tone is Tone.NEUTRAL:
        return Text(printable(text), no_wrap=text.startswith(" "), overflow="ignore")
    grid = Grid.grid(padding=(0, 1))
    grid.add_row(Text(marks[tone], _STYLES[tone]), printable(text))
    return grid


def diff_style(line: str) -> str:
    """The colour of a line of a unified difference."""
    if line.startswith(("+++", "---")):
        return "bold"
    return {"+": "green", "-": "red", "@": "cyan"}.get(line[:1], "")


def grid_of(table: Table, marks: dict[Tone, str], rule: str) -> Group:
    """The table under its title."""
    lines = box.Box(f"    \n    \n{rule}{rule}{rule}{rule}\n" + "    \n" * 5)
    grid = Grid(box=lines, header_style="bold", show_edge=False, padding=(0, 1, 0, 0))
    for column in table.columns:
        grid.add_column(column, no_wrap=column not in table.wrapping, overflow="fold")
    rows = [[text_of(cell, marks) for cell in row] for row in table.rows]
    head, tail = table.shared
    groups = [
        list(group) for _, group in groupby(rows, lambda row: (row[:head], row[len(row) - tail :]) if head else row)
    ]
    for index, group in enumerate(groups):
        if index and len(groups) < len(rows):
            grid.add_row()
        for row in merged(group, head, tail):
            grid.add_row(*row)
    title = [Text(printable(table.title), "bold")] if table.title else []
    return Group(*title, grid)


def merged(rows: list[list[Text]], head: int, tail: int) -> list[list[Text]]:
    """Rows that share their first and last cells: as one, its last cells beside all, or with the first cells once."""
    first, *others = rows
    if not tail:
        return [first, *([Text()] * head + row[head:] for row in others)]
    middle = [Text("\n").join(column) for column in list(zip(*rows, strict=True))[head:-tail]]
    return [first[:head] + middle + first[-tail:]]


def text_of(cell: str | Cell, marks: dict[Tone, str]) -> Text:
    """The cell behind its mark."""
    if not isinstance(cell, Cell):
        return Text(printable(cell))
    return Text(f"{marks[cell.tone]} {printable(cell.text)}".lstrip(), _STYLES[cell.tone])
