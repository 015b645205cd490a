"""The parts of a command's report, whatever its format."""

from collections.abc import Iterable, Sequence
from enum import Enum
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle

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
    """Rows under headings."""

    title: str
    columns: tuple[str, ...]
    rows: list[tuple[str | Cell, ...]]


class Line(NamedTuple):
    """A sentence."""

    text: str
    tone: Tone = Tone.NEUTRAL


class Command(NamedTuple):
    """A command line to copy, after what it is for. It is never wrapped."""

    label: str
    text: str

    def __str__(self) -> str:
        """The indented line."""
        return "    " + "  ".join(filter(None, self))


class Document(NamedTuple):
    """Text that is printed as it is, whatever the options say. `is_diff` asks for the colours of one."""

    text: str
    is_diff: bool = False


type Block = Table | Line | Command | Document


class Report(NamedTuple):
    """Everything that a command reports.

    The blocks are for people, and may be made on the way, since they are not used with --json. The rest is for
    programs: the results, the agents and the advice as records, and the `facts` beside them. `errors` are for both.
    """

    blocks: Iterable[Block]
    results: Sequence[Record]
    facts: Record | None = None
    agents: Sequence[Record] = ()
    advice: Sequence[Record] = ()
    errors: Sequence[Obstacle] = ()
    exit_code: int = 0
