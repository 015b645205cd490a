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


class Copy(NamedTuple):
    """One skill's place in one skills directory, and what is there.

    `path` leads there from the scope's root, `file` is the same with all links resolved. `obstacle` says why the copy
    is unreadable.
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
    obstacle: Obstacle | None = None

    @property
    def blank(self) -> "Copy":
        """The same place, with nothing known of what is there."""
        return Copy(self.scope, self.root, self.directory, self.skill, self.path, self.file)

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
    def place(self) -> str:
        """The skills directory in a sentence."""
        return f"~/{self.directory}" if self.scope == "user" and self.directory[0] != "/" else self.directory

    @property
    def link(self) -> Path | None:
        """The copy itself, or its skill's directory, if that is a link."""
        places = (self.path, self.path.parent)
        return next((place for place in places if os.path.islink(place)), None)  # noqa: PTH114 (never raises)

    def may_hold(self, place: Path) -> bool:
        """Whether a path, its links resolved, lies where the scope allows: a project's must be in the repository."""
        return self.scope == "user" or place.is_relative_to(os.path.realpath(self.root))

    @property
    def misplaced(self) -> Obstacle | None:
        """The link that leads to no copy of the skill, or out of the repository, so that nothing must be changed."""
        if self.file == self.path:
            return None
        is_inside = self.may_hold(self.file)
        if is_inside and self.file.parts[-2:] == self.path.parts[-2:]:
            return None
        below_root = [place for place in (self.path, *self.path.parents) if not self.root.is_relative_to(place)]
        link = next((place for place in below_root if os.path.islink(place)), self.path)  # noqa: PTH114
        where = "which is no copy of this skill" if is_inside else "outside the repository"
        kind = "link" if os.path.exists(link) else "dangling link"  # noqa: PTH110 (never raises)
        return Obstacle(str(link), f"a {kind} to {os.path.realpath(link)}, {where}", "remove the link")


def read_directory(scope: Scope, root: Path, directory: str) -> list[Copy]:
    """Every skill's place in a skills directory, and what is there."""
    places = []
    for name in skill.SKILL_TEMPLATES:
        path = skill.skill_target_path("project", root, name, directory)
        places.append(Copy(scope, root, directory, name, path, path))
    # Most directories of the table are missing from the first part on: resolving all of them takes milliseconds.
    is_there = os.path.lexists(f"{root}/{directory.partition('/')[0]}")
    return [read_copy(place) for place in places] if is_there else places


def read_copy(copy: Copy) -> Copy:
    """The copy as it is on the disk now. Raises nothing for what is there."""
    path, file = copy.path, Path(os.path.realpath(copy.path))
    copy = copy.blank._replace(file=file)
    try:
        status = path.stat()
        if stat.S_ISREG(status.st_mode) and status.st_size <= _LARGEST:
            content = read(file)
            state, version, is_ours = judge(copy.skill, content)
            return copy._replace(state=state, version=version, is_ours=is_ours, content=content)
        problem = "too large for a skill's document" if stat.S_ISREG(status.st_mode) else "not a regular file"
        problem = "a directory is in the way" if stat.S_ISDIR(status.st_mode) else problem
        obstacle: Obstacle | None = Obstacle(str(path), problem, "move it away")
    except (FileNotFoundError, NotADirectoryError):
        obstacle = dangling(path)
    except OSError as error:
        closed = (folder for folder in reversed(path.parents) if not os.access(folder, os.X_OK))
        obstacle = obstacle_of(error, next(closed, path))
    except UnicodeDecodeError as error:
        obstacle = Obstacle(str(path), f"not valid UTF-8 (at byte {error.start})", "correct or remove it")
    return copy._replace(state=State.UNREADABLE, obstacle=obstacle) if obstacle else copy


def read(file: Path) -> bytes:
    """The file's bytes. A pipe that has just taken the file's place blocks nobody."""
    with os.fdopen(os.open(file, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC), "rb") as stream:
        return stream.read(_LARGEST)


def dangling(path: Path) -> Obstacle | None:
    """The link that keeps a path from existing, if it is a link."""
    place = next(place for place in (path, *path.parents) if os.path.lexists(place))
    if not place.is_symlink() or os.path.exists(place):  # noqa: PTH110 (never raises)
        return None
    return Obstacle(str(place), f"a dangling link to {place.readlink()}", "remove it, or restore what it leads to")
