"""Steers the preloaded shim, shim.c."""

import ctypes
import enum
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path

FOR_EVER = 10**6
_process = ctypes.CDLL(None)
_process.shim_disarm.restype = ctypes.c_char_p  # AttributeError: the shim isn't preloaded, see the Makefile


class Action(enum.IntEnum):
    """What a system call meets; `value` is an errno, a number of bytes or a signal."""

    WATCH = 0
    FAIL = 1
    SHORTEN = 2  # transfer no more than so many bytes
    INTERRUPT = 3  # raise that signal, and fail with EINTR
    KILL = 4  # before the call
    KILL_AFTER = 5  # after a transfer of so many bytes
    PAUSE = 6  # for so many milliseconds, and then go on


@dataclass(frozen=True)
class Fault:
    """The `first`-th and the following calls of a name on a path, and what they meet; empty text: any."""

    action: Action = Action.WATCH
    value: int = 0
    call: str = ""
    path: str = ""
    first: int = 0
    count: int = 1


@dataclass
class Watch:
    """The calls that were made below the root, by name and path, and how many met the fault."""

    calls: list[tuple[str, str]] = field(default_factory=list)
    hits: int = 0


@contextmanager
def armed(root: Path, fault: Fault) -> Iterator[Watch]:
    """Let system calls on paths below the root meet the fault."""
    watch = Watch()
    _process.shim_arm(
        *(text.encode() for text in (str(root), fault.call, fault.path)),
        *(fault.first, fault.count, int(fault.action), fault.value),
    )
    try:
        yield watch
    finally:
        lines = _process.shim_disarm().decode().splitlines()
        watch.calls += [(call, path) for call, _, path in (line.partition(" ") for line in lines)]
        watch.hits = _process.shim_hits()


def starve(first: int, count: int) -> None:
    """Fail so many allocations of the extension's C++ code after the next `first` ones; none if count is 0."""
    _process.shim_starve(first, count)
