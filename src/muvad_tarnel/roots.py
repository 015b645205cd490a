"""The two scopes that skills are installed at, and the directory that each begins with."""

import os
from contextlib import suppress
from pathlib import Path

from muvad_tarnel.failure import Failure
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope

type Roots = dict[Scope, Path]

SCOPES: tuple[Scope, ...] = ("user", "project")


def home_directory() -> Path:
    """The user's home directory. Raises `Failure` if there is none to be used."""
    remedy = "set HOME to your home directory"
    home = Path(os.path.expanduser("~"))  # noqa: PTH111 (never raises)
    if os.environ.get("HOME") == "":  # which would be taken for the root directory
        raise Failure("HOME is empty", remedy)
    if not home.is_absolute():
        raise Failure(f"HOME is not an absolute path ({home})", remedy)
    try:
        with suppress(FileNotFoundError):  # an install makes it
            os.stat(f"{home}/.")  # noqa: PTH116 (the dot asks whether it may be searched)
    except OSError as error:
        raise Failure(error.strerror or str(error), remedy, home) from error
    return home


def find_project_root() -> Path:
    """The repository around the current directory. Raises `Failure` when there is no current directory."""
    try:
        return repository_around(Path.cwd())
    except OSError as error:
        raise Failure(f"no current directory ({error.strerror})", "name the project with -C DIR") from error


def repository_around(start: Path) -> Path:
    """The nearest folder, from an absolute path upward, that holds `.git`; without one, the path itself.

    `.git` is a file in worktrees and submodules and counts as well. A folder that may not be searched holds no `.git`
    as far as anyone can tell.
    """
    folders = (start, *start.parents)
    return next((folder for folder in folders if os.path.exists(folder / ".git")), start)  # noqa: PTH110 (never raises)


def agents_in_use(home: Path) -> tuple[str, ...]:
    """The agents whose markers hold more than skills, in the table's order."""
    skills = {home / directory for record in AGENT_CONFIG.values() for directory in record.skills_user_roots}
    on_the_way = {parent for directory in skills for parent in directory.parents}

    def holds_more(folder: Path) -> bool:
        try:
            entries = [entry for entry in folder.iterdir() if entry not in skills]
        except (FileNotFoundError, NotADirectoryError):
            return False
        except OSError:
            return True  # it exists, but may not be listed
        return any(entry not in on_the_way or holds_more(entry) for entry in entries)

    return tuple(key for key, record in AGENT_CONFIG.items() if record.marker and holds_more(home / record.marker))
