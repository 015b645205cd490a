"""Reports on a terminal: tables drawn by rich, marks and colours."""

import re
from shutil import get_terminal_size

from rich import box
from rich.cells import cell_len
from rich.console import Console, Group
from rich.table import Table as Grid
from rich.text import Text

from muvad_tarnel.output.report import Block, Command, Document, Line, Table, Tone
from muvad_tarnel.output.text import printable

_STYLES = {Tone.GOOD: "green", Tone.WARNING: "yellow", Tone.BAD: "red", Tone.NEUTRAL: ""}
_MARKS = {Tone.GOOD: "\N{CHECK MARK}", Tone.WARNING: "!", Tone.BAD: "\N{BALLOT X}", Tone.NEUTRAL: ""}
_DIFF_STYLES = {"+": "green", "-": "red", "@": "cyan"}
_BOX = box.Box("    \n    \n" + "\u2500" * 4 + "\n" + "    \n" * 5)  # a rule below the headings
# Keep a mark on the same line as the next word.
_WORDS = re.compile(r"\S \S+|\S+")
_LEAST = 15  # prose in a narrower column has hardly more than one word per line


def drawn(blocks: list[Block], *, has_colour: bool) -> str:
    """The blocks rendered for the width of the terminal, with empty lines around tables."""
    console = Console(
        force_terminal=True,
        color_system="standard" if has_colour else None,
        no_color=not has_colour,
        width=get_terminal_size().columns,
    )
    # One layout for all tables.
    is_narrow = any(isinstance(block, Table) and not widths_of(block, console.width) for block in blocks)
    with console.capture() as capture:
        for former, block in zip([None, *blocks], blocks, strict=False):
            if former and (isinstance(block, Table) or isinstance(former, Table)):
                console.print()
            draw(console, block, is_narrow=is_narrow)
    return "".join(line.rstrip(" ") + "\n" for line in capture.get().splitlines())


def draw(console: Console, block: Block, *, is_narrow: bool) -> None:
    """Draw one block."""
    match block:
        case Table():
            if block.title:
                console.print(Text(printable(block.title), "bold"), soft_wrap=True)
            console.print(stack_of(block) if is_narrow else grid_of(block, widths_of(block, console.width)))
        case Line():
            console.print(text_of(block))
        case Command():
            console.print(Text(printable(str(block))), soft_wrap=True)
        case Document(text, is_diff):
            for line in text.splitlines():
                console.print(Text(line, _DIFF_STYLES.get(line[:1], "") if is_diff else ""), soft_wrap=True)


def widths_of(table: Table, available: int) -> list[int]:
    """The widths at which the columns fit, with readable prose and no broken words; empty if there are none."""
    columns = [[text_of(cell).plain for cell in cells] for cells in zip(table.columns, *table.rows, strict=True)]
    widths = [max(map(cell_len, column)) for column in columns]
    words = (max(map(cell_len, _WORDS.findall(" ".join(column)))) for column in columns)
    least = [min(width, max(word, _LEAST)) for width, word in zip(widths, words, strict=True)]
    while sum(widths) + 2 * len(widths) - 1 > available:
        slack = [width - minimum for width, minimum in zip(widths, least, strict=True)]
        if not any(slack):
            return []
        widths[slack.index(max(slack))] -= 1
    return widths


def grid_of(table: Table, widths: list[int]) -> Grid:
    """The columns side by side. Leading cells of a row that equal those of the row above are left empty."""
    grid = Grid(box=_BOX, header_style="bold", show_edge=False, padding=(0, 1, 0, 0))
    for column, width in zip(table.columns, widths, strict=True):
        grid.add_column(column, overflow="fold", width=width)
    for above, row in zip([[], *table.rows], table.rows, strict=False):
        same = next((index for index, (over, cell) in enumerate(zip(above, row, strict=False)) if over != cell), 0)
        grid.add_row(*[Text()] * same, *map(text_of, row[same:]))
    return grid


def stack_of(table: Table) -> Group:
    """The cells of each row one below the other, for a terminal that is too narrow for columns."""
    lines: list[Text] = []
    for row in table.rows:
        cells = zip(table.columns, map(text_of, row), strict=True)
        lines += [Text(), *(Text.assemble((f"{column}: ", "bold"), text) for column, text in cells if text)]
    return Group(*lines[1:])


def text_of(cell: str | Line) -> Text:
    """The cell's text after its mark, in its colour."""
    text, tone = cell if isinstance(cell, Line) else Line(cell)
    return Text(f"{_MARKS[tone]} {printable(text)}".lstrip(), _STYLES[tone])
