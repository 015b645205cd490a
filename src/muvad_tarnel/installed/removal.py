"""Taking installed copies away, and nothing that this package did not write."""

from contextlib import suppress
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.obstacles import reason_of


class Removal(NamedTuple):
    """What became of one copy. `kept` is the reason for leaving it, `problem` that for failing, empty otherwise."""

    copy: Copy
    removed: bool = False
    kept: str = ""
    problem: str = ""
    lost: str = ""  # what was taken away by force

    @property
    def success(self) -> bool:
        """Whether the copy is gone, or would be."""
        return not (self.kept or self.problem)


def remove_copy(copy: Copy, root: Path, *, force: bool, dry_run: bool) -> Removal:
    """Take away one copy, and its directory when that is then empty."""
    if copy.problem and copy.path.is_dir():
        return Removal(copy, problem="a directory stands there")
    reason = reason_for_keeping(copy, root)
    if reason and not force:
        return Removal(copy, kept=reason)
    if not dry_run:
        try:
            copy.path.unlink()
        except OSError as error:
            return Removal(copy, problem=reason_of(error))
        with suppress(OSError):  # not empty, or a link
            copy.path.parent.rmdir()
    return Removal(copy, removed=not dry_run, lost=reason)


def reason_for_keeping(copy: Copy, root: Path) -> str:
    """Why a copy is not for this package to take away; empty if it is."""
    if copy.state is State.UNREADABLE:
        return copy.problem
    actual = copy.path.parent.resolve()
    if actual != root.resolve() / copy.directory / copy.skill:
        return f"reached through a link, the file itself stands in {actual}"
    return copy.difference
