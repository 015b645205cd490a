"""The parts of a command's report, independent of its format."""

from collections.abc import Iterable, Sequence
from enum import Enum
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle

type Record = dict[str, object]


class Tone(Enum):
    """The meaning of a line. The words must convey it too, because a tone only adds a mark and a colour."""

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
    """A command line to copy, after a label with its purpose. It is never wrapped."""

    label: str
    words: Sequence[str]

    def __str__(self) -> str:
        """The indented line, quoted for a shell."""
        from shlex import join  # noqa: PLC0415 (not needed with --json)

        return "    " + "  ".join(filter(None, (self.label, join(self.words))))


class Document(NamedTuple):
    """Text that is printed unchanged, even with --quiet. `is_diff` enables the colours of a diff."""

    text: str
    is_diff: bool = False


type Block = Table | Line | Command | Document

# A reason to run a command, and the command.
type Advice = tuple[str, Command]


class Report(NamedTuple):
    """Everything that a command reports.

    The blocks are for people, and can be generated lazily because --json doesn't use them. The results, the agents
    and the additional `facts` are for programs. The advice and the errors are for both.
    """

    blocks: Iterable[Block]
    results: Sequence[Record]
    facts: Record | None = None
    agents: Sequence[Record] = ()
    advice: Sequence[Advice] = ()
    errors: Sequence[Obstacle] = ()
    exit_code: int = 0
