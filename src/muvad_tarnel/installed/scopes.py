"""The two scopes that skills are installed at, and the directory that each begins with."""

from pathlib import Path
from typing import Literal

from muvad_tarnel.failure import Failure

type Scope = Literal["user", "project"]
type Roots = dict[Scope, Path]

SCOPES: tuple[Scope, ...] = ("user", "project")


def home_directory() -> Path:
    """The user's home directory, absolute. Raises `Failure` when the environment and the system name none."""
    try:
        return Path.home().absolute()
    except (RuntimeError, OSError) as error:
        raise Failure("the home directory cannot be found: set HOME to it") from error


def find_project_root() -> Path:
    """The nearest folder, from the current directory upward, that holds `.git`; without one, the current directory.

    `.git` is a file in worktrees and submodules and counts as well. Raises `Failure` when there is no current
    directory. A folder that may not be searched holds no `.git` as far as anyone can tell.
    """
    try:
        start = Path.cwd()
    except OSError as error:
        raise Failure(f"no current directory ({error.strerror}): name the project by --project") from error
    return next((folder for folder in (start, *start.parents) if holds_git(folder)), start)


def holds_git(folder: Path) -> bool:
    """Whether `.git`, a folder or a file, stands in `folder`."""
    try:
        return (folder / ".git").exists()
    except OSError:
        return False


def same_file(one: Path, other: Path) -> bool:
    """Whether both paths lead to one existing file or directory."""
    try:
        return one.samefile(other)
    except OSError:
        return False
