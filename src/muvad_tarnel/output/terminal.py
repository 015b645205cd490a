"""Reports on a terminal: tables drawn by rich, marks and colours."""

from itertools import groupby
from shutil import get_terminal_size

from rich import box
from rich.console import Console, Group, RenderableType
from rich.measure import Measurement
from rich.table import Table as Grid
from rich.text import Text

from muvad_tarnel.output.report import Block, Cell, Command, Document, Line, Table, Tone
from muvad_tarnel.output.text import Style, printable

_STYLES = {Tone.GOOD: "green", Tone.WARNING: "yellow", Tone.BAD: "red", Tone.NEUTRAL: ""}
_MARKS = {Tone.GOOD: "\N{CHECK MARK}", Tone.WARNING: "!", Tone.BAD: "\N{BALLOT X}", Tone.NEUTRAL: ""}
_ASCII_MARKS = {Tone.GOOD: "+", Tone.WARNING: "!", Tone.BAD: "x", Tone.NEUTRAL: ""}


def drawn(blocks: list[Block], style: Style) -> str:
    """The blocks as a terminal of the present width shows them."""
    console = Console(
        force_terminal=True,
        color_system="standard" if style.has_colour else None,
        no_color=not style.has_colour,
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
                if block.title:
                    console.print(Text(printable(block.title), "bold"))
                grid = grid_of(block, marks, "\u2500" if style.has_marks else "-")
                is_wide = Measurement.get(console, console.options, grid).minimum > console.width
                console.print(stack_of(block, marks) if is_wide else grid)
            case Line(text, tone):
                console.print(line_of(text, tone, marks))
            case Command(label, text):
                console.print(Text(printable(f"    {label}  {text}")), soft_wrap=True)
            case Document(text, is_diff):
                for line in text.splitlines():
                    console.print(Text(line, diff_style(line) if is_diff else ""), soft_wrap=True)
        former = block


def line_of(text: str, tone: Tone, marks: dict[Tone, str]) -> RenderableType:
    """A sentence after its mark."""
    if tone is Tone.NEUTRAL:
        return Text(printable(text))
    grid = Grid.grid(padding=(0, 1))
    grid.add_row(Text(marks[tone], _STYLES[tone]), Text(printable(text), overflow="fold"))
    return grid


def diff_style(line: str) -> str:
    """The colour of a line of a unified difference."""
    if line.startswith(("+++", "---")):
        return "bold"
    return {"+": "green", "-": "red", "@": "cyan"}.get(line[:1], "")


def grid_of(table: Table, marks: dict[Tone, str], rule: str) -> Grid:
    """The table with its columns side by side. Its cells are broken between words only."""
    lines = box.Box(f"    \n    \n{rule}{rule}{rule}{rule}\n" + "    \n" * 5)
    grid = Grid(box=lines, header_style="bold", show_edge=False, padding=(0, 1, 0, 0))
    rows = [[text_of(cell, marks) for cell in row] for row in table.rows]
    for column, cells in zip(table.columns, zip(*rows, strict=True), strict=True):
        words = [word for cell in cells for word in cell.plain.split()]
        grid.add_column(column, overflow="fold", min_width=max(map(len, [column, *words])))
    head, tail = table.shared
    groups = [
        list(group) for _, group in groupby(rows, lambda row: (row[:head], row[len(row) - tail :]) if head else row)
    ]
    for index, group in enumerate(groups):
        if index and len(groups) < len(rows):
            grid.add_row()
        for row in merged(group, head, tail):
            grid.add_row(*row)
    return grid


def merged(rows: list[list[Text]], head: int, tail: int) -> list[list[Text]]:
    """Rows that share their first and last cells: as one, its last cells beside all, or with the first cells once."""
    first, *others = rows
    if not tail:
        return [first, *([Text()] * head + row[head:] for row in others)]
    middle = [Text("\n").join(column) for column in list(zip(*rows, strict=True))[head:-tail]]
    return [first[:head] + middle + first[-tail:]]


def stack_of(table: Table, marks: dict[Tone, str]) -> Group:
    """The table with the cells of a row below one another, for a terminal that is too narrow for columns."""
    width = max(map(len, table.columns))
    grid = Grid.grid(padding=(0, 1, 0, 0))
    grid.add_column(min_width=min(width, 12), style="bold")
    grid.add_column(overflow="fold")
    for index, row in enumerate(table.rows):
        if index:
            grid.add_row()
        for column, cell in zip(table.columns, row, strict=True):
            if text := text_of(cell, marks):
                grid.add_row(column, text)
    return Group(grid)


def text_of(cell: str | Cell, marks: dict[Tone, str]) -> Text:
    """The cell after its mark."""
    if not isinstance(cell, Cell):
        return Text(printable(cell))
    return Text(f"{marks[cell.tone]} {printable(cell.text)}".lstrip(), _STYLES[cell.tone])
