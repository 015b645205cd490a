"""Installed copies of the skills: reading one, and judging its state against this package."""

import re
import stat
from enum import Enum
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel import __version__
from muvad_tarnel.installed.obstacles import reason_of
from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.setup import skill

# The stamp: the first such line among the first characters of the text. The installing module reads it the same way.
_STAMP = re.compile(r"^version:\s*([0-9][\w.\-]*)\s*$", re.MULTILINE)
_STAMP_WITHIN = 2000

# What stands at a path that would block its reader: a pipe, a device.
NOT_A_FILE = "neither a file nor a directory"


class State(Enum):
    """What stands at the place of a skill, compared with this package."""

    CURRENT = "current"
    OUTDATED = "update available"
    NEWER = "newer"
    MODIFIED = "modified by hand"
    UNSTAMPED = "unstamped"
    UNREADABLE = "unreadable"
    MISSING = "missing"


class Copy(NamedTuple):
    """One skill's place in one skills directory, and what was found there.

    `is_ours` says that the text is exactly this package's document for the copy's own stamp, line ends and a byte
    order mark aside. `identity` is the file's device and inode. `problem` says why the copy is unreadable.
    """

    scope: Scope
    directory: str
    skill: str
    path: Path
    state: State
    version: str | None = None
    text: str | None = None
    is_ours: bool = False
    identity: tuple[int, int] | None = None
    problem: str = ""

    @property
    def exists(self) -> bool:
        """Whether anything stands at the path."""
        return self.state is not State.MISSING

    @property
    def difference(self) -> str:
        """What the text is, if not this package's document: the words for a warning, or the empty string."""
        if self.text is None or self.is_ours:
            return ""
        if self.version is None:
            return "not written by this package"
        return "edited" if self.version == __version__ else "edited, or another edition of the document"


def version_key(version: str) -> tuple[int, ...]:
    """What versions are compared by: the number at the start of each piece between dots, 0 where there is none."""
    numbers = (re.match(r"\d+", piece) for piece in version.split("."))
    return tuple(int(number.group()) if number else 0 for number in numbers)


def stamp_of(text: str) -> str | None:
    """The version that a document is stamped with; None if there is none."""
    stamp = _STAMP.search(text[:_STAMP_WITHIN])
    return stamp.group(1) if stamp else None


def document(version: str, skill_name: str) -> str:
    """This package's document of a skill, stamped with `version`."""
    return skill.render_skill_md(version, skill_name)


def state_of(version: str | None, *, is_ours: bool) -> State:
    """The state of a copy that could be read."""
    if version is None:
        return State.UNSTAMPED
    if version_key(version) < version_key(__version__):
        return State.OUTDATED
    if version_key(version) > version_key(__version__):
        return State.NEWER
    # The text of another edition with an equal key ("1.0rc1" beside "1.0") is not known here, hence not called edited.
    return State.CURRENT if is_ours or version != __version__ else State.MODIFIED


def read_copy(scope: Scope, project_root: Path | None, skill_name: str, directory: str) -> Copy:
    """What stands at a skill's place in a directory. Raises nothing for what the disk holds."""
    path = skill.skill_target_path(scope, project_root, skill_name, directory).absolute()
    place = Copy(scope, directory, skill_name, path, State.MISSING)
    try:
        status = path.stat()
        if not (stat.S_ISREG(status.st_mode) or stat.S_ISDIR(status.st_mode)):
            return place._replace(state=State.UNREADABLE, problem=NOT_A_FILE)
        text = path.read_text(encoding="utf-8")
    except (FileNotFoundError, NotADirectoryError):
        return place
    except (OSError, UnicodeDecodeError) as error:
        return place._replace(state=State.UNREADABLE, problem=reason_of(error))
    version = stamp_of(text)
    is_ours = version is not None and text.removeprefix("\ufeff") == document(version, skill_name)
    return place._replace(
        state=state_of(version, is_ours=is_ours),
        version=version,
        text=text,
        is_ours=is_ours,
        identity=(status.st_dev, status.st_ino),
    )


def read_directories(project_root: Path | None, scope: Scope, directories: list[str]) -> list[Copy]:
    """Every skill's place in each of the directories, by directory in the order given, then by skill."""
    return [
        read_copy(scope, project_root, name, directory) for directory in directories for name in skill.SKILL_TEMPLATES
    ]
