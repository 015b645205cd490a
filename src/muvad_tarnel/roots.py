"""The two scopes that skills are installed at, and their root directories."""

import os
from contextlib import suppress
from pathlib import Path

from muvad_tarnel.failure import Failure, Obstacle, obstacle_of
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

type Roots = dict[Scope, Path]

SCOPES: tuple[Scope, ...] = ("user", "project")


def home_directory() -> Path:
    """The user's home directory. Raises `Failure` if it is unusable."""
    remedy = "set HOME to your home directory"
    text = os.environ.get("HOME", os.path.expanduser("~"))  # noqa: PTH111 (never raises)
    home = Path(text)
    if not home.is_absolute():
        raise Failure(Obstacle("", f"HOME is not an absolute path ({text!r})", remedy))
    try:
        with suppress(FileNotFoundError):  # an install creates it
            os.stat(f"{home}/.")  # noqa: PTH116 (the dot checks the search permission)
    except OSError as error:
        raise Failure(obstacle_of(error, home)._replace(remedy=remedy)) from error
    return home


def find_project_root() -> Path:
    """The repository around the current directory. Raises `Failure` if there is no current directory."""
    try:
        return repository_around(Path.cwd())
    except OSError as error:
        raise Failure(Obstacle("", f"no current directory ({error.strerror})", "name one with -C DIR")) from error


def repository_around(start: Path) -> Path:
    """The nearest folder with `.git`, from an absolute path upward; if there is none, the path itself.

    `.git` may be a file, as in worktrees and submodules. A folder without search permission counts as one without it.
    """
    folders = (start, *start.parents)
    return next((folder for folder in folders if os.path.exists(folder / ".git")), start)  # noqa: PTH110 (never raises)


def agents_in_use(home: Path) -> tuple[str, ...]:
    """The agents whose marker directories contain more than skills, in the table's order."""
    skills = {home / directory for record in AGENT_CONFIG.values() for directory in record.skills_user_roots}
    on_the_way = {parent for directory in skills for parent in directory.parents}

    def holds_more(folder: Path) -> bool:
        with suppress(OSError):  # missing, not a directory, or closed to this user
            others = (entry for entry in folder.iterdir() if entry not in skills)
            return any(entry not in on_the_way or holds_more(entry) for entry in others)
        return False

    return tuple(key for key, record in AGENT_CONFIG.items() if record.marker and holds_more(home / record.marker))
