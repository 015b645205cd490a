"""Installing skill by skill, so that one failure keeps no other from being tried."""

from collections.abc import Callable
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel.installed.copies import NOT_A_FILE, Copy, read_copy
from muvad_tarnel.installed.obstacles import advice, reason_of
from muvad_tarnel.installed.plans import Plan
from muvad_tarnel.installed.scopes import Roots
from muvad_tarnel.setup import skill

# The module's words for a result that was not carried out.
_FORESEEN = "would "
_FAILED = "failed: "


class Outcome(NamedTuple):
    """What became of one skill in one planned directory.

    `before` is what stood there; `replaces` says that its text was (or in a dry run would be) overwritten; `problem`
    and `remedy` are empty unless it failed.
    """

    before: Copy
    agents: tuple[str, ...]
    message: str
    written: bool = False
    replaces: bool = False
    problem: str = ""
    remedy: str = ""

    @property
    def success(self) -> bool:
        """Whether the skill is in place, or would be."""
        return not self.problem


def install_planned(
    plan: Plan, roots: Roots, before_writing: Callable[[Outcome], None], *, force: bool, dry_run: bool
) -> list[Outcome]:
    """Install every skill into every planned directory; `before_writing` hears of each text about to be replaced."""
    outcomes = []
    for directory, agents in plan.directories.items():
        for name in skill.SKILL_TEMPLATES:
            copy = read_copy(plan.scope, roots.get("project"), name, directory)
            foreseen = install_copy(copy, agents, roots, force=force, dry_run=True)
            if foreseen.replaces:
                before_writing(foreseen)
            is_done = dry_run or not foreseen.message.startswith(_FORESEEN)
            outcomes.append(foreseen if is_done else install_copy(copy, agents, roots, force=force, dry_run=False))
    return outcomes


def install_copy(copy: Copy, agents: tuple[str, ...], roots: Roots, *, force: bool, dry_run: bool) -> Outcome:
    """Have the module install one skill into one directory, and tell what came of it."""
    if copy.problem == NOT_A_FILE:
        return Outcome(copy, agents, "failed", problem=copy.problem, remedy=f"move {copy.path} away")
    project: Path | None = roots.get("project")
    try:
        result = skill.install_skill(
            copy.scope,
            project,
            force=force,
            dry_run=dry_run,
            skill_name=copy.skill,
            skills_dir=copy.directory,
            agents=agents,
        )
    except (OSError, UnicodeDecodeError) as error:
        return Outcome(copy, agents, "failed", problem=reason_of(error), remedy=advice(copy.path, error))
    if not result.success:
        # "[Errno 20] Not a directory: '/home/...'": the number is for programs, and the path is told anyway.
        reason = result.message.removeprefix(_FAILED).partition("] ")[2].partition(": '")[0]
        return Outcome(copy, agents, "failed", problem=reason or result.message, remedy=advice(copy.path))
    is_written = result.installed or result.message.startswith(_FORESEEN)
    return Outcome(copy, agents, result.message, result.installed, copy.text is not None and is_written)
