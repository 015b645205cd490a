"""Controls the preloaded shim, shim.c."""

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
    """What happens to a system call. A fault's `value` is an errno, a number of bytes, a signal or milliseconds."""

    WATCH = 0
    FAIL = 1
    SHORTEN = 2  # transfer at most `value` bytes
    INTERRUPT = 3  # raise the signal `value`, and fail with EINTR
    KILL = 4  # before the call
    KILL_AFTER = 5  # after transferring `value` bytes
    PAUSE = 6  # for `value` milliseconds, then make the call


@dataclass(frozen=True)
class Fault:
    """An action for `count` calls of a name on a path, from the `first` on. An empty name or path matches any."""

    action: Action = Action.WATCH
    value: int = 0
    call: str = ""
    path: str = ""
    first: int = 0
    count: int = 1


@dataclass
class Watch:
    """The calls made below the root, by name and path, and how many of them the fault hit."""

    calls: list[tuple[str, str]] = field(default_factory=list)
    hits: int = 0


@contextmanager
def armed(root: Path, fault: Fault) -> Iterator[Watch]:
    """Apply the fault to system calls on paths below the root."""
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
    """Fail `count` allocations of the extension's C++ code, after the next `first` ones."""
    _process.shim_starve(first, count)
