"""One installed copy of a skill: read it, determine its state, and check the links in its path."""

import os
import stat
from enum import Enum
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel import __version__
from muvad_tarnel.failure import Obstacle, obstacle_of
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import Scope

# Far larger than any document. A repository may contain files crafted to exhaust memory.
_LARGEST = 2**20

# The SHA-256 digests of all released templates. When a template changes, add the new digest and keep the old one, so
# that copies from earlier releases don't count as modified.
RELEASED = {
    "tarnel": frozenset({"bef2522d3677b204b64107eb8f11578357806c23542c454484ecfa92ac5a5f02"}),
    "tarnel-map": frozenset({"79ca54e5f36144a6738a1445f974f83244143c5aee02c5455d262add5d9474ed"}),
    "tarnel-wiki": frozenset({"d96191336437e3021b867994a69db41de6573d507b8eaae8d6c1f2c0c0965a7d"}),
}


class State(Enum):
    """The state of a copy compared with this package."""

    CURRENT = "current"
    OUTDATED = "outdated"
    NEWER = "newer"
    MODIFIED = "modified"
    INCOMPLETE = "incomplete"
    FOREIGN = "foreign"
    UNREADABLE = "unreadable"
    MISSING = "missing"


class Copy(NamedTuple):
    """The path of one skill in one skills directory, and what is there.

    `path` starts with the scope's root; `file` is the same path with all links resolved. `obstacle` says why the copy
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

    def changed(self, state: State) -> "Copy":
        """The copy after an install (current) or a removal (missing)."""
        is_ours = state is State.CURRENT
        version = __version__ if is_ours else None
        return Copy(self.scope, self.root, self.directory, self.skill, self.path, self.file, state, version, is_ours)

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
        """The skills directory as written in sentences."""
        return f"~/{self.directory}" if self.scope == "user" and self.directory[0] != "/" else self.directory

    @property
    def link(self) -> Path | None:
        """The skill's directory, or the copy itself, if that is a link. One inside a linked directory is elsewhere."""
        places = (self.path.parent, self.path)
        return next((place for place in places if os.path.islink(place)), None)  # noqa: PTH114 (never raises)

    def may_hold(self, place: Path) -> bool:
        """Whether the scope allows a resolved path: at project scope, it must be inside the repository."""
        return self.scope == "user" or place.is_relative_to(os.path.realpath(self.root))

    @property
    def misplaced(self) -> Obstacle | None:
        """The obstacle if a link leads outside the repository or not to a copy of the skill: nothing may be changed."""
        if self.file == self.path:
            return None
        is_inside = self.may_hold(self.file)
        if is_inside and self.file.parts[-2:] == self.path.parts[-2:]:
            return None
        below_root = [place for place in (self.path, *self.path.parents) if not self.root.is_relative_to(place)]
        link = next((place for place in below_root if os.path.islink(place)), self.path)  # noqa: PTH114
        where = ", which is no copy of this skill" if is_inside else ", outside the repository"
        return Obstacle(str(link), f"a link to {os.path.realpath(link)}{where}", "remove the link")


def read_directory(scope: Scope, root: Path, directory: str) -> list[Copy]:
    """The copies of all skills in a skills directory, existing or not."""
    places = []
    for name in skill.SKILL_TEMPLATES:
        path = skill.skill_target_path("project", root, name, directory)
        places.append(Copy(scope, root, directory, name, path, path))
    # Most directories of the table don't exist, not even their first part. Resolving all of them takes milliseconds.
    is_there = os.path.lexists(f"{root}/{directory.partition('/')[0]}")
    return [read_copy(place) for place in places] if is_there else places


def read_copy(copy: Copy) -> Copy:
    """The copy as it is on the disk now. Problems there become its obstacle and raise nothing."""
    path, file = copy.path, Path(os.path.realpath(copy.path))
    copy = copy.changed(State.MISSING)._replace(file=file)
    try:
        kind = path.stat().st_mode
        problem = "a directory is in the way" if stat.S_ISDIR(kind) else "not a regular file"
        if stat.S_ISREG(kind):
            content = beginning_of(file)
            if len(content) <= _LARGEST:
                state, version, is_ours = judge(copy.skill, content)
                return copy._replace(state=state, version=version, is_ours=is_ours, content=content)
            problem = "too large for a skill's document"
        obstacle: Obstacle | None = Obstacle(str(path), problem, "move it away")
    except (FileNotFoundError, NotADirectoryError):
        obstacle = dangling(path)
    except OSError as error:
        closed = (folder for folder in reversed(path.parents) if not os.access(folder, os.X_OK))
        obstacle = obstacle_of(error, next(closed, path))
    except UnicodeDecodeError as error:
        obstacle = Obstacle(str(path), f"not valid UTF-8 (at byte {error.start})", "correct or remove it")
    return copy._replace(state=State.UNREADABLE, obstacle=obstacle) if obstacle else copy


def beginning_of(file: Path) -> bytes:
    """At most one byte more than the limit. A link may lead to a file of the kernel that is endless or blocks."""
    with os.fdopen(os.open(file, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC), "rb") as stream:
        return stream.read(_LARGEST + 1) or b""


def dangling(path: Path) -> Obstacle | None:
    """The obstacle if a path doesn't exist because of a dangling link."""
    place = next(place for place in (path, *path.parents) if os.path.lexists(place))
    if not place.is_symlink() or os.path.exists(place):  # noqa: PTH110 (never raises)
        return None
    return Obstacle(str(place), f"a dangling link to {place.readlink()}", "remove it, or restore what it leads to")


def plain(content: bytes) -> bytes:
    """The content without a byte order mark and with LF line endings."""
    return content.removeprefix(b"\xef\xbb\xbf").replace(b"\r\n", b"\n").replace(b"\r", b"\n")


def judge(name: str, content: bytes) -> tuple[State, str | None, bool]:
    """The state of a copy with this content, its version stamp, and whether a release of this package wrote it.

    Raises `UnicodeDecodeError` unless a truncation is the cause.
    """
    text = plain(content).decode(errors="replace")  # truncation may split a character
    if text == skill.render_skill_md(__version__, name):  # even if its stamp can't be parsed, as with a local version
        return State.CURRENT, __version__, True
    stamp = skill._VERSION_RE.search(text[:2000])  # the part that the module searches
    version = stamp.group(1) if stamp else None
    is_ours = stamp is not None and is_released(name, text[: stamp.start(1)] + "{version}" + text[stamp.end(1) :])
    whole = skill.render_skill_md(version or __version__, name).encode()
    if not is_ours and len(content) < len(whole) and whole.startswith(content):
        return State.INCOMPLETE, version, True
    content.decode()
    if version is None:
        return State.FOREIGN, None, False
    key, own_key = skill._version_tuple(version), skill._version_tuple(__version__)
    same = State.CURRENT if is_ours else State.MODIFIED
    return State.OUTDATED if key < own_key else State.NEWER if key > own_key else same, version, is_ours


def is_released(name: str, template: str) -> bool:
    """Whether the text is a released template of the skill."""
    if template == skill.SKILL_TEMPLATES[name]:
        return True
    from hashlib import sha256  # noqa: PLC0415 (slow to import and rarely needed)

    return sha256(template.encode()).hexdigest() in RELEASED[name]
