"""Reports on a terminal: tables drawn by rich, marks and colours."""

import re
from collections.abc import Sequence
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
    with console.capture() as capture:
        for former, block in zip([None, *blocks], blocks, strict=False):
            if former and (isinstance(block, Table) or isinstance(former, Table)):
                console.print()
            draw(console, block)
    return "".join(line.rstrip(" ") + "\n" for line in capture.get().splitlines())


def draw(console: Console, block: Block) -> None:
    """Draw one block."""
    match block:
        case Table(title, columns, rows):
            if title:
                console.print(Text(printable(title), "bold"))
            texts = [[text_of(cell) for cell in row] for row in rows]
            widths = widths_of(columns, texts, console.width)
            console.print(grid_of(columns, texts, widths) if widths else stack_of(columns, texts))
        case Line():
            console.print(text_of(block))
        case Command():
            console.print(Text(printable(str(block))), soft_wrap=True)
        case Document(text, is_diff):
            for line in text.splitlines():
                console.print(Text(line, _DIFF_STYLES.get(line[:1], "") if is_diff else ""), soft_wrap=True)


def widths_of(columns: Sequence[str], rows: list[list[Text]], available: int) -> list[int]:
    """The widths at which the columns fit, with readable prose and no broken words; empty if there are none."""
    cells = [[heading, *(text.plain for text in texts)] for heading, *texts in zip(columns, *rows, strict=True)]
    widths = [max(map(cell_len, column)) for column in cells]
    words = (max(map(cell_len, _WORDS.findall(" ".join(column)))) for column in cells)
    least = [min(width, max(word, _LEAST)) for width, word in zip(widths, words, strict=True)]
    while sum(widths) + 2 * len(widths) - 1 > available:
        slack = [width - minimum for width, minimum in zip(widths, least, strict=True)]
        if not any(slack):
            return []
        widths[slack.index(max(slack))] -= 1
    return widths


def grid_of(columns: Sequence[str], rows: list[list[Text]], widths: list[int]) -> Grid:
    """The columns side by side. Leading cells of a row that equal those of the row above are left empty."""
    grid = Grid(box=_BOX, header_style="bold", show_edge=False, padding=(0, 1, 0, 0))
    for column, width in zip(columns, widths, strict=True):
        grid.add_column(column, overflow="fold", width=width)
    for above, row in zip([[], *rows], rows, strict=False):
        same = next((index for index, (over, cell) in enumerate(zip(above, row, strict=False)) if over != cell), 0)
        grid.add_row(*[Text()] * same, *row[same:])
    return grid


def stack_of(columns: Sequence[str], rows: list[list[Text]]) -> Group:
    """The cells of each row one below the other, for a terminal that is too narrow for columns."""
    lines: list[Text] = []
    for row in rows:
        cells = zip(columns, row, strict=True)
        lines += [Text(), *(Text.assemble((f"{column}: ", "bold"), text) for column, text in cells if text)]
    return Group(*lines[1:])


def text_of(cell: str | Line) -> Text:
    """The cell's text after its mark, in its colour."""
    text, tone = cell if isinstance(cell, Line) else Line(cell)
    return Text(f"{_MARKS[tone]} {printable(text)}".lstrip(), _STYLES[tone])
