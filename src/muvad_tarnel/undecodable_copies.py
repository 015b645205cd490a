"""Telling which installed copy made the skill functions fail because it is not valid UTF-8."""

from collections.abc import Iterator
from contextlib import contextmanager, suppress
from pathlib import Path
from typing import Literal

import click

from muvad_tarnel.console import printable
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@contextmanager
def naming_undecodable_copy(agents: tuple[str, ...], project_root: Path | None) -> Iterator[None]:
    """Turn a `UnicodeDecodeError` into a `click.ClickException` that names the copy.

    The decoder's error holds the file's bytes and not its name, so the copy is found by its content.
    """
    try:
        yield
    except UnicodeDecodeError as error:
        path = find_copy(error.object, agents, project_root)
        subject = printable(str(path)) if path else "an installed copy"
        raise click.ClickException(f"{subject} is not valid UTF-8 ({error}): mend or remove it") from error


def find_copy(content: bytes, agents: tuple[str, ...], project_root: Path | None) -> Path | None:
    """The first installed copy with exactly `content`, among all that `agents` read; None if it has changed since."""
    records = [AGENT_CONFIG[key] for key in agents]
    places: list[tuple[Literal["user", "project"], str]]
    places = [("user", directory) for record in records for directory in record.skills_user_roots]
    places += [("project", directory) for record in records for directory in record.skills_project_roots]
    for scope, directory in places:
        for name in skill.SKILL_TEMPLATES:
            with suppress(OSError):
                path = skill.skill_target_path(scope, project_root, name, directory)
                if path.read_bytes() == content:
                    return path
    return None
