"""Replace and remove copies atomically, and never through a link that leads elsewhere.

The new text is written to a temporary file beside the old one, which is then renamed over it, so that either the old or
the new file exists at any time. Meanwhile, a shared lock on the directory prevents other runs from cleaning up.
"""

import errno
import fcntl
import os
from collections.abc import Iterable, Iterator
from contextlib import ExitStack, contextmanager, suppress
from itertools import count
from pathlib import Path

from muvad_tarnel.failure import Obstacle, obstacle_of
from muvad_tarnel.installed.copies import Copy, State, read_copy
from muvad_tarnel.setup import skill

_PREFIX, _SUFFIX = ".SKILL.md.", ".tmp"


def obstacle_to_writing(copy: Copy) -> Obstacle | None:
    """The foreseeable obstacle to writing a copy."""
    if obstacle := copy.misplaced or copy.obstacle:
        return obstacle
    return (denied(copy.file, os.W_OK) if copy.exists else None) or obstacle_to_entries(copy.file.parent)


def obstacle_to_entries(folder: Path) -> Obstacle | None:
    """The obstacle to creating or removing a file in a directory, which may not exist yet."""
    place = next(place for place in (folder, *folder.parents) if os.path.lexists(place))
    if not os.path.isdir(place):  # noqa: PTH112 (never raises)
        return Obstacle(str(place), "a file is in the way of a directory", "move it away")
    return denied(place, os.W_OK | os.X_OK)


def denied(place: Path, mode: int) -> Obstacle | None:
    """The obstacle if access to a file or directory in this mode is denied."""
    if os.access(place, mode):
        return None
    code = errno.EACCES
    if os.statvfs(place).f_flag & os.ST_RDONLY:
        code = errno.EROFS
        while not place.is_mount():  # one error for all copies on the mount
            place = place.parent
    return obstacle_of(OSError(code, f"not writable: {os.strerror(code)}"), place)


def obstacle_met(error: OSError, copy: Copy) -> Obstacle:
    """The obstacle behind a failure, with the path that all affected copies have in common."""
    if error.errno in (errno.ENOSPC, errno.EDQUOT, errno.EFBIG):
        return obstacle_of(error, copy.path.parent.parent)
    return obstacle_to_writing(copy) or obstacle_of(error, copy.path)


def replace(copy: Copy) -> Path | None:
    """Write this package's document to a copy's path. If that replaces a text that isn't ours, return its backup.

    If it raises `OSError`, the old file is still there.
    """
    folder = copy.file.parent
    missing = [place for place in (folder, *folder.parents) if not place.exists()]
    try:
        folder.mkdir(parents=True, exist_ok=True)
        with ExitStack() as stack:
            with suppress(OSError):  # the directory isn't readable, or the file system has no locks
                stack.enter_context(locked(folder, fcntl.LOCK_SH))
            temporary = stack.enter_context(staged(copy))
            now = read_copy(copy)
            if now.state is State.CURRENT:  # another installer got there first
                return None
            kept = keep(copy.file) if now.exists and not now.is_ours else None
            if kept and read_copy(copy._replace(path=kept)).is_ours:  # it got there in between
                kept.unlink()
                kept = None
            temporary.replace(copy.file)
            return kept
    finally:
        with suppress(OSError):  # a directory in use is not empty
            for place in missing:
                place.rmdir()


@contextmanager
def locked(folder: Path, operation: int) -> Iterator[None]:
    """Hold a lock on a directory. Raises `OSError` if it is unavailable."""
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY | os.O_CLOEXEC)
    try:
        fcntl.flock(descriptor, operation)
        yield
    finally:
        os.close(descriptor)


@contextmanager
def staged(copy: Copy) -> Iterator[Path]:
    """A temporary file with this package's document, and with the owner and mode of the file to replace."""
    path = copy.file.with_name(f"{_PREFIX}{os.urandom(6).hex()}{_SUFFIX}")
    try:
        with path.open("xb") as stream:
            stream.write(skill.render_skill_md(skill_name=copy.skill).encode())
            stream.flush()
            if copy.exists:
                status = copy.file.stat()
                with suppress(OSError):  # only root may change a file's owner
                    os.fchown(stream.fileno(), status.st_uid, status.st_gid)
                os.fchmod(stream.fileno(), status.st_mode & 0o777)
            os.fsync(stream.fileno())
        yield path
    finally:
        path.unlink(missing_ok=True)


def keep(file: Path) -> Path:
    """Link or copy the file to the first free name of SKILL.md.bak, SKILL.md.bak2 and so on."""
    for number in count(1):
        backup = file.with_name(f"{file.name}.bak{number if number > 1 else ''}")
        try:
            os.link(file, backup, follow_symlinks=False)
        except FileExistsError:
            if os.path.samestat(backup.lstat(), file.lstat()):
                return backup  # made by another run, which is still active or was killed
            continue
        except OSError:  # the file system has no hard links
            content = file.read_bytes()
            try:
                with backup.open("xb") as stream:
                    stream.write(content)
            except FileExistsError:
                continue
            except OSError:
                backup.unlink(missing_ok=True)
                raise
        return backup
    raise AssertionError


def clean_up(copies: Iterable[Copy]) -> None:
    """Remove temporary files that killed runs left beside the copies, unless another run is active there."""
    for folder in {copy.file.parent for copy in copies if not copy.misplaced}:
        # Failing to remove one does not prevent writing.
        with suppress(OSError), locked(folder, fcntl.LOCK_EX | fcntl.LOCK_NB):
            for path in folder.glob(f"{_PREFIX}*{_SUFFIX}"):
                path.unlink()


def obstacle_to_removing(copy: Copy, *, force: bool) -> Obstacle | None:
    """The obstacle to removing a copy: a text or link that isn't ours, unless forced, or a problem on the disk."""
    link = copy.link
    if copy.misplaced and not (link and copy.may_hold(link.parent.resolve())):
        return copy.misplaced
    if copy.obstacle and not link and (os.path.isdir(copy.path) or not os.path.lexists(copy.path)):  # noqa: PTH112
        return copy.obstacle
    reason = reason_to_keep(copy)
    if reason and not force:
        what = "only the link" if link else "it"
        return Obstacle(str(link or copy.path), reason, f"rename it to keep it, or add --force to delete {what}")
    return obstacle_to_entries((link or copy.file).parent)


def reason_to_keep(copy: Copy) -> str:
    """Why removing a copy requires --force; empty if it is ours."""
    if link := copy.link:
        return f"a link to {link.readlink()}"
    if copy.obstacle:
        return copy.obstacle.problem
    return "" if copy.is_ours and copy.state is not State.NEWER else difference(copy)


def difference(copy: Copy) -> str:
    """How the text of a copy differs from what this package wrote."""
    reasons = {State.FOREIGN: "not written by this package", State.NEWER: "newer than this package"}
    return reasons.get(copy.state, "modified")


def remove(copy: Copy, *, force: bool) -> None:
    """Remove a copy, and its directory if that is then empty. A link is removed instead of its target.

    Raises `OSError`, also if the file has been modified since it was read.
    """
    if not force and not read_copy(copy).is_ours:
        raise OSError(errno.EBUSY, "changed while this command ran")
    place = copy.link or copy.file
    place.unlink()
    if place.name == copy.path.name:
        with suppress(OSError):  # not empty
            place.parent.rmdir()
