"""What a command has to say, before anyone decides how it looks."""

from collections.abc import Iterable
from enum import Enum
from typing import NamedTuple

type Record = dict[str, object]


class Tone(Enum):
    """How a cell or line is meant. The words must say it as well: a tone only adds a mark and a colour."""

    GOOD = "good"
    WARNING = "warning"
    BAD = "bad"
    NEUTRAL = "neutral"


class Cell(NamedTuple):
    """A text with a tone."""

    text: str
    tone: Tone


class Table(NamedTuple):
    """Rows under headings; `wrapping` are the columns that may be broken where the terminal is narrow.

    `shared` counts the leading and the trailing columns that neighbouring rows may share.
    """

    title: str
    columns: tuple[str, ...]
    rows: list[tuple[str | Cell, ...]]
    wrapping: tuple[str, ...]
    shared: tuple[int, int] = (0, 0)


class Line(NamedTuple):
    """A sentence, or (neutral and indented) a command to copy."""

    text: str
    tone: Tone = Tone.NEUTRAL


class Document(NamedTuple):
    """Text that is printed as it is, whatever the options say. `is_diff` asks for the colours of one."""

    text: str
    is_diff: bool = False


type Block = Table | Line | Document


class Report(NamedTuple):
    """All that a command has to say on standard output.

    The blocks are for people, the results and the facts beside them for programs. Only one of the two is used, so the
    blocks may be made on the way.
    """

    blocks: Iterable[Block]
    results: list[Record]
    facts: Record | None = None
    exit_code: int = 0
