"""Reports on a terminal: tables drawn by rich, marks and colours."""

from itertools import groupby
from shutil import get_terminal_size

from rich import box
from rich.cells import cell_len
from rich.console import Console, Group, RenderableType
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
                widths = widths_of(block, marks, console.width)
                rule = "\u2500" if style.has_marks else "-"
                console.print(grid_of(block, marks, rule, widths) if widths else stack_of(block, marks))
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


def widths_of(table: Table, marks: dict[Tone, str], available: int) -> list[int]:
    """The widths at which the columns fit with no word broken; none if there are no such widths.

    Where rows share their last cells, one line stands for a row: the cells between must not wrap.
    """
    head, tail = table.shared
    cells = [[text_of(cell, marks).plain for cell in column] for column in zip(table.columns, *table.rows, strict=True)]
    least = [max(cell_len(word) for text in column for word in text.split() or [""]) for column in cells]
    if tail:
        least[head:-tail] = [max(map(cell_len, column)) for column in cells[head:-tail]]
    widths = [max(map(cell_len, column)) for column in cells]
    while sum(widths) + 2 * len(widths) - 1 > available:
        slack = [width - minimum for width, minimum in zip(widths, least, strict=True)]
        if not any(slack):
            return []
        widths[slack.index(max(slack))] -= 1
    return widths


def grid_of(table: Table, marks: dict[Tone, str], rule: str, widths: list[int]) -> Grid:
    """The table with its columns side by side."""
    lines = box.Box(f"    \n    \n{rule}{rule}{rule}{rule}\n" + "    \n" * 5)
    grid = Grid(box=lines, header_style="bold", show_edge=False, padding=(0, 1, 0, 0))
    rows = [[text_of(cell, marks) for cell in row] for row in table.rows]
    for column, width in zip(table.columns, widths, strict=True):
        grid.add_column(column, overflow="fold", width=width)
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
    lines = [
        Text.assemble((f"{column}: ", "bold"), text, overflow="fold")
        for row in table.rows
        for column, cell in (("", ""), *zip(table.columns, row, strict=True))
        if (text := text_of(cell, marks)) or not column
    ]
    return Group(*(line if line.plain != ": " else Text() for line in lines[1:]))


def text_of(cell: str | Cell, marks: dict[Tone, str]) -> Text:
    """The cell after its mark."""
    if not isinstance(cell, Cell):
        return Text(printable(cell))
    return Text(f"{marks[cell.tone]} {printable(cell.text)}".lstrip(), _STYLES[cell.tone])
