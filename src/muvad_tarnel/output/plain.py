"""Reports as plain lines: for pipes and files. No colours, no marks, every line whole."""

from muvad_tarnel.output.report import Block, Cell, Command, Document, Line, Table
from muvad_tarnel.output.text import printable


def written(blocks: list[Block]) -> str:
    """The blocks as lines of text."""
    lines: list[str] = []
    for block in blocks:
        match block:
            case Table():
                lines += [""] * bool(lines) + table_lines(block)
            case Line(text, _):
                lines.append(printable(text))
            case Command(label, text):
                lines.append(printable(f"    {f'{label}  {text}'.strip()}"))
            case Document(text, _):
                lines += text.splitlines()
    return "".join(line + "\n" for line in lines)


def table_lines(table: Table) -> list[str]:
    """The title, then a line for every row, in columns."""
    rows = [[printable(cell.text if isinstance(cell, Cell) else cell) for cell in row] for row in table.rows]
    widths = [max(map(len, column)) for column in zip(*rows, strict=True)]
    lines = ("  ".join(cell.ljust(width) for cell, width in zip(row, widths, strict=True)) for row in rows)
    return [printable(table.title)] * bool(table.title) + [line.rstrip() for line in lines]
