"""What keeps a file from being read or written, and what a person can do about it."""

import errno
import os
from pathlib import Path


def reason_of(error: Exception) -> str:
    """Why a file could not be read or written, in a few words and without its path."""
    if isinstance(error, UnicodeDecodeError):
        return f"not valid UTF-8 (at byte {error.start})"
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    return str(error)


def nearest_existing(path: Path) -> Path:
    """`path`, or the nearest directory above it that anything stands at."""
    return next((place for place in (path, *path.parents) if os.path.lexists(place)), path)


def advice(path: Path, error: Exception | None = None) -> str:
    """What to do so that the file at `path` can be written.

    The disk is asked rather than the error: the module reports a failed write by its text alone.
    """
    if isinstance(error, UnicodeDecodeError):
        return "mend or remove it"
    if isinstance(error, OSError) and error.errno == errno.ENAMETOOLONG:
        return "set HOME to a shorter path"
    place = nearest_existing(path)
    if place == path:
        return f"move the directory {place} away" if place.is_dir() else f"make {place} readable and writable"
    if not place.is_dir():
        return f"move {place} away: a directory belongs there"
    return f"make {place} a directory that can be written to"
