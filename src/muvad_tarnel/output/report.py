"""The parts of a command's report, whatever its format."""

from collections.abc import Iterable, Sequence
from enum import Enum
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle

type Record = dict[str, object]


class Tone(Enum):
    """How a line is meant. The words must say it as well: a tone only adds a mark and a colour."""

    GOOD = "good"
    WARNING = "warning"
    BAD = "bad"
    NEUTRAL = "neutral"


class Line(NamedTuple):
    """A sentence, or a cell of a table."""

    text: str
    tone: Tone = Tone.NEUTRAL


class Table(NamedTuple):
    """Rows under headings."""

    title: str
    columns: Sequence[str]
    rows: Sequence[Sequence[str | Line]]


class Command(NamedTuple):
    """A command line to copy, after what it is for. It is never wrapped."""

    label: str
    words: Sequence[str]

    def __str__(self) -> str:
        """The indented line, as a shell takes it."""
        from shlex import join  # noqa: PLC0415 (not needed with --json)

        return "    " + "  ".join(filter(None, (self.label, join(self.words))))


class Document(NamedTuple):
    """Text that is printed as it is, whatever the options say. `is_diff` asks for the colours of one."""

    text: str
    is_diff: bool = False


type Block = Table | Line | Command | Document

# A reason, and the command that it is a reason to run.
type Advice = tuple[str, Command]


class Report(NamedTuple):
    """Everything that a command reports.

    The blocks are for people, and may be made on the way, since they are not used with --json. The results, the agents
    and the `facts` beside them are for programs. The advice and the errors are for both.
    """

    blocks: Iterable[Block]
    results: Sequence[Record]
    facts: Record | None = None
    agents: Sequence[Record] = ()
    advice: Sequence[Advice] = ()
    errors: Sequence[Obstacle] = ()
    exit_code: int = 0
