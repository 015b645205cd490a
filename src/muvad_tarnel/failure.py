"""Failures as users see them: the path, the problem and the remedy."""

import errno
from pathlib import Path
from typing import NamedTuple


class Obstacle(NamedTuple):
    """A message for the user: the path concerned (empty if there is none), the problem and its remedy."""

    path: str
    problem: str
    remedy: str

    def __str__(self) -> str:
        """The parts in one line."""
        return ": ".join(part for part in self if part)


class Failure(Exception):  # noqa: N818 (a problem for the user to solve, not a bug)
    """An obstacle that ends a command: its only argument."""


_REMEDIES = {
    errno.ENOSPC: "free some space",
    errno.EDQUOT: "free some of your quota",
    errno.EFBIG: "raise the limit on the size of files",
    errno.EROFS: "make the file system writable",
    errno.EACCES: "change its permissions",
    errno.EPERM: "change its permissions",
    errno.ENAMETOOLONG: "use a shorter path",
    errno.ELOOP: "remove the link",
}


def obstacle_of(error: OSError, path: str | Path) -> Obstacle:
    """The obstacle for a system error about a path."""
    remedy = _REMEDIES.get(error.errno or 0, "check that it can be read and written, then run this again")
    return Obstacle(str(path), error.strerror or str(error), remedy)
