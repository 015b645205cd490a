"""`muvad-tarnel skill install`."""

import click

from muvad_tarnel import __version__
from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import (
    agents_in_words,
    joined,
    outdated_lines,
    place_record,
    scope_title,
    twice_lines,
    twice_records,
)
from muvad_tarnel.installed.copies import State
from muvad_tarnel.installed.installation import Outcome, install_planned
from muvad_tarnel.installed.plans import plan_for
from muvad_tarnel.installed.readers import names_of
from muvad_tarnel.installed.sightings import as_if_installed, copies_read_by, outdated_outside, seen_twice
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.setup.config import AGENT_CONFIG


@click.command("install")
@asked_for("one")
@click.option("--force", is_flag=True, help="Rewrite copies of the same or a newer version as well.")
@click.option("--dry-run", is_flag=True, help="Say what would be done and write nothing.")
@output_options
def install(request: Request, *, force: bool, dry_run: bool) -> Report:
    """Install the skills where the agents look.

    The directories are chosen so that each agent finds every skill, through one directory where that can be had;
    `plan` shows the choice.

    Running it again is safe: a copy of the same or a newer version is left alone, an older one is updated. A copy
    without a version stamp is overwritten. A text that this package didn't write is named before it is replaced;
    `diff` shows what would be lost.

    \b
    Examples:
      muvad-tarnel skill install             for Claude Code, for you alone
      muvad-tarnel skill install --detect    for the agents in use
      muvad-tarnel skill install --scope project --all-agents

    \b
    Exit codes:
      0  every skill is in place, or would be (--dry-run)
      1  at least one skill could not be installed, or no agent was detected
      2  the command line is wrong
    """
    scope, console = request.scope, request.console
    request.note_moved()
    plan = plan_for(request.agents, scope)

    def warn(outcome: Outcome) -> None:
        if outcome.before.difference:
            verb = "would replace" if dry_run else "replacing"
            console.note(f"{verb} {outcome.before.path}, {outcome.before.difference}")

    outcomes = install_planned(plan, request.roots, warn, force=force, dry_run=dry_run)
    for outcome in outcomes:
        if not outcome.success:
            console.error(f"{outcome.before.path}: {outcome.problem}: {outcome.remedy}")
    copies = copies_read_by(AGENT_CONFIG, scope, request.roots)
    if dry_run:
        copies = as_if_installed(copies, plan.directories)
    twice = seen_twice(copies, request.agents, scope)
    verbs = ("would see", "would see") if dry_run else ("now sees", "now see")
    return Report(
        [
            table(request, outcomes),
            *summary(request, outcomes),
            *outdated_lines(request, scope, outdated_outside(copies, request.agents, scope)),
            *twice_lines(request, twice, verbs),
        ],
        [record(outcome) for outcome in outcomes],
        {"seen_twice": twice_records(request, twice)},
        exit_code=0 if all(outcome.success for outcome in outcomes) else 1,
    )


def table(request: Request, outcomes: list[Outcome]) -> Table:
    """What became of every skill."""
    scope = request.scope
    return Table(
        scope_title(request, scope),
        ("Directory", "Skill", "Result", "Read by"),
        [
            (
                request.place(scope, outcome.before.directory),
                outcome.before.skill,
                result_cell(outcome),
                names_of(outcome.agents),
            )
            for outcome in outcomes
        ],
        wrapping=("Read by",),
        shared=(1, 1),
    )


def result_cell(outcome: Outcome) -> Cell:
    """What became of one skill: the module's words, without what goes without saying."""
    if not outcome.success:
        return Cell("failed", Tone.BAD)
    message = outcome.message.removesuffix(" (dry run)").removesuffix(f" (v{__version__})")
    is_kept = not outcome.written and not outcome.replaces
    if is_kept and outcome.before.state is State.MODIFIED:
        return Cell("modified by hand, kept", Tone.WARNING)
    return Cell(message, Tone.GOOD)


def summary(request: Request, outcomes: list[Outcome]) -> list[Block]:
    """One line: how many were written, left alone, and not to be had."""
    failed = sum(not outcome.success for outcome in outcomes)
    written = sum(outcome.written for outcome in outcomes)
    foreseen = sum(outcome.message.startswith("would ") for outcome in outcomes)
    kept = len(outcomes) - failed - written - foreseen
    counts = [(written, "written"), (foreseen, "to be written (dry run, nothing was)"), (kept, "already up to date")]
    parts = [f"{count} {what}" for count, what in [*counts, (failed, "failed")] if count]
    tone = Tone.BAD if failed else Tone.GOOD
    return [Line(f"{joined(parts)}, for {agents_in_words(request.agents)}.", tone)]


def record(outcome: Outcome) -> Record:
    """What became of one skill, for programs."""
    copy = outcome.before
    return place_record(copy) | {
        "agents": list(outcome.agents),
        "success": outcome.success,
        "installed": outcome.written,
        "message": outcome.message,
        "problem": outcome.problem or None,
        "remedy": outcome.remedy or None,
        "state_before": copy.state.value,
        "version_before": copy.version,
        "replaces": copy.difference or None if outcome.replaces else None,
    }
