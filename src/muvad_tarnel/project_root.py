"""Finding the project that a command is run in."""

from pathlib import Path

import click


def find_project_root() -> Path:
    """The nearest folder, from the current directory upward, that holds `.git`; without one, the current directory.

    `.git` is a file in worktrees and submodules and counts as well. Raises `click.ClickException` when there is no
    current directory, and `OSError` when a folder above it may not be searched.
    """
    try:
        start = Path.cwd()
    except OSError as error:
        raise click.ClickException(f"no current directory ({error.strerror}): name the project by --project") from error
    return next((folder for folder in (start, *start.parents) if (folder / ".git").exists()), start)
