"""One installed copy of a skill: reading it, and the links on the way to it."""

import os
import stat
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle, obstacle_of
from muvad_tarnel.installed.documents import State, judge
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import Scope

# No document comes near this many bytes. A repository may hold files that are made to exhaust memory.
_LARGEST = 2**20

type Identity = tuple[int, int, int, int]


class Copy(NamedTuple):
    """One skill's place in one skills directory, and what is there.

    `path` leads there from the scope's root, `file` is the same with all links resolved. `obstacle` says why the copy
    is unreadable; `misplaced` why it must not be written or removed: a link leads to somewhere else. `identity` tells
    whether the file has changed since it was read (device, inode, size, time).
    """

    scope: Scope
    root: Path
    directory: str
    skill: str
    path: Path
    file: Path
    state: State = State.MISSING
    version: str | None = None
    is_ours: bool = False
    content: bytes | None = None
    identity: Identity | None = None
    obstacle: Obstacle | None = None
    misplaced: Obstacle | None = None

    @property
    def exists(self) -> bool:
        """Whether anything is at the path."""
        return self.state is not State.MISSING

    @property
    def is_found(self) -> bool:
        """Whether an agent that reads the directory finds the skill."""
        return self.state not in (State.MISSING, State.UNREADABLE, State.FOREIGN)

    @property
    def is_stale(self) -> bool:
        """Whether an update replaces it."""
        return self.state in (State.OUTDATED, State.INCOMPLETE)

    @property
    def link(self) -> Path | None:
        """The copy itself, or its skill's directory, if that is a link."""
        places = (self.path, self.path.parent)
        return next((place for place in places if os.path.islink(place)), None)  # noqa: PTH114 (never raises)

    def may_hold(self, place: Path) -> bool:
        """Whether a path, its links resolved, lies where the scope allows: a project's must be in the repository."""
        return self.scope == "user" or place.is_relative_to(os.path.realpath(self.root))


def read_directory(scope: Scope, root: Path, directory: str) -> list[Copy]:
    """Every skill's place in a skills directory. Raises nothing for what is on the disk."""
    folder = actual = root / directory
    is_there, obstacle = False, None
    # Most directories of the table are missing from the first part on: resolving all of them takes milliseconds.
    if os.path.lexists(f"{root}/{directory.partition('/')[0]}"):
        actual = Path(os.path.realpath(folder))
        try:
            is_there = bool(os.stat(f"{folder}/."))  # noqa: PTH116 (the dot asks whether it may be searched)
        except (FileNotFoundError, NotADirectoryError):
            obstacle = dangling(folder)
        except OSError as error:
            ways = (place for place in (*reversed(folder.parents), folder) if not os.access(place, os.X_OK))
            obstacle = obstacle_of(error, next(ways, folder))
    copies = []
    for name in skill.SKILL_TEMPLATES:
        path = skill.skill_target_path("project", root, name, directory)
        file = path if actual is folder else actual / name / path.name
        state = State.UNREADABLE if obstacle else State.MISSING
        copy = Copy(scope, root, directory, name, path, file, state, obstacle=obstacle)
        copy = read_copy(copy) if is_there else copy
        reason = misplaced(copy)
        copies.append(copy._replace(misplaced=reason) if reason else copy)
    return copies


def read_copy(copy: Copy) -> Copy:
    """The copy as it is on the disk now."""
    copy = Copy(*copy[:6], misplaced=copy.misplaced)
    try:
        copy = copy._replace(file=Path(os.path.realpath(copy.path)))
        status = copy.path.stat()
        problem = problem_of(status)
        if not problem:
            content = read(copy.file)
            judgement = judge(copy.skill, content)
            return copy._replace(**judgement._asdict(), content=content, identity=identity_of(status))
        obstacle: Obstacle | None = Obstacle(str(copy.path), problem, "move it away")
    except (FileNotFoundError, NotADirectoryError):
        obstacle = dangling(copy.path)
    except OSError as error:
        obstacle = obstacle_of(error, copy.path)
    except UnicodeDecodeError as error:
        obstacle = Obstacle(str(copy.path), f"not valid UTF-8 (at byte {error.start})", "correct or remove it")
    return copy._replace(state=State.UNREADABLE, obstacle=obstacle) if obstacle else copy


def problem_of(status: os.stat_result) -> str:
    """Why something cannot be a document; empty if it can."""
    if stat.S_ISDIR(status.st_mode):
        return "a directory is in the way"
    if not stat.S_ISREG(status.st_mode):
        return "not a regular file"
    return "too large for a skill's document" if status.st_size > _LARGEST else ""


def read(file: Path) -> bytes:
    """The file's bytes. A pipe that has just taken the file's place blocks nobody."""
    with os.fdopen(os.open(file, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC), "rb") as stream:
        return stream.read(_LARGEST)


def identity_of(status: os.stat_result) -> Identity:
    """What changes when a file is written or replaced."""
    return status.st_dev, status.st_ino, status.st_size, status.st_mtime_ns


def dangling(path: Path) -> Obstacle | None:
    """The link that keeps a path from existing, if it is a link."""
    place = str(path)
    while not os.path.lexists(place):
        place = os.path.dirname(place)  # noqa: PTH120 (this runs for every directory of the table)
    if not os.path.islink(place) or os.path.exists(place):  # noqa: PTH110, PTH114
        return None
    return Obstacle(place, f"a dangling link to {Path(place).readlink()}", "remove it, or restore what it leads to")


def misplaced(copy: Copy) -> Obstacle | None:
    """The link that makes a path lead to another file than a copy of the skill, or out of the repository."""
    if copy.file is copy.path or copy.file == copy.path:
        return None
    is_inside = copy.may_hold(copy.file)
    if is_inside and copy.file.name == copy.path.name and copy.file.parent.name == copy.skill:
        return None
    below_root = [place for place in (copy.path, *copy.path.parents) if not copy.root.is_relative_to(place)]
    link = next((place for place in below_root if os.path.islink(place)), copy.path)  # noqa: PTH114
    where = "which is no copy of this skill" if is_inside else "outside the repository"
    return Obstacle(str(link), f"a link to {os.path.realpath(link)}, {where}", "remove the link")
