"""Writing copies and reporting what became of each: what `install` and `update` share."""

from collections.abc import Callable, Iterable, Sequence
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel import __version__
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import (
    advice_blocks,
    advice_records,
    agent_records,
    copy_record,
    copy_tables,
)
from muvad_tarnel.failure import Obstacle
from muvad_tarnel.hints import advice, count
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.installed.writing import clean_up, difference, obstacle_met, obstacle_to_writing, replace
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Tone


class Outcome(NamedTuple):
    """What became of a copy. `verb` is "install", "update", "replace", or empty if nothing was to be done."""

    copy: Copy
    verb: str = ""
    kept: Path | None = None
    obstacle: Obstacle | None = None

    @property
    def is_written(self) -> bool:
        """Whether the document is in place now, or would be in a dry run."""
        return bool(self.verb) and not self.obstacle


def write_all(request: Request, copies: Iterable[Copy], *, dry_run: bool) -> list[Outcome]:
    """Write the copies, each tried whatever happens to the others, and say which replaced texts are kept where."""
    if not dry_run:
        clean_up(copy for copy in request.survey.copies if copy.scope in request.scopes)
    return [write(request, copy, dry_run=dry_run) for copy in copies]


def write(request: Request, copy: Copy, *, dry_run: bool) -> Outcome:
    """Write one copy."""
    verb = "install" if not copy.exists else "update" if copy.is_stale else "replace"
    kept = None
    obstacle = obstacle_to_writing(copy)
    if not obstacle and not dry_run:
        try:
            kept = replace(copy)
        except OSError as error:
            obstacle = obstacle_met(error, copy)
    what = f"{copy.path}, {difference(copy)}"
    if kept:
        request.console.note(f"replaced {what}; the old text is kept as {kept}", is_important=True)
    elif dry_run and not obstacle and copy.exists and not copy.is_ours:
        request.console.note(f"would replace {what}, and keep the old text beside it", is_important=True)
    return Outcome(copy, verb, kept, obstacle)


def result_cell(outcome: Outcome, *, dry_run: bool) -> Cell:
    """What became of one copy."""
    copy = outcome.copy
    if outcome.obstacle:
        return Cell("failed", Tone.BAD)
    if not outcome.verb:
        tone = Tone.GOOD if copy.state is State.CURRENT else Tone.WARNING
        return Cell("already up to date" if copy.state is State.CURRENT else f"{copy.state.value}, unchanged", tone)
    if dry_run:
        return Cell(f"would {outcome.verb}", Tone.GOOD)
    done = {"install": "installed", "update": f"updated to {__version__}", "replace": "replaced"}
    return Cell(done[outcome.verb], Tone.GOOD)


def summary(outcomes: Sequence[Outcome], *, dry_run: bool) -> Line:
    """One line: how many were written, are current, and failed."""
    written = [outcome for outcome in outcomes if outcome.is_written]
    failed = [outcome for outcome in outcomes if outcome.obstacle]
    current = [outcome for outcome in outcomes if not outcome.verb and outcome.copy.state is State.CURRENT]
    others = len(outcomes) - len(written) - len(failed) - len(current)
    files = "1 file" if len(written) == 1 else f"{len(written)} files"
    parts = [f"would write {files} (dry run)" if dry_run else f"{files} written"] if written else []
    parts += [f"{count(current)} already up to date"] if current else []
    parts += [f"{others} unchanged"] if others else []
    parts += [f"{len(failed)} failed"] if failed else []
    text = ", ".join(parts) or "no copy needs an update"
    return Line(f"{text[0].upper()}{text[1:]}.", Tone.BAD if failed else Tone.GOOD)


def outcome_record(outcome: Outcome) -> Record:
    """What became of one copy, for programs. Its state and version are those from before."""
    return copy_record(outcome.copy) | {
        "action": "failed" if outcome.obstacle else outcome.verb or "none",
        "kept": str(outcome.kept) if outcome.kept else None,
    }


def report_of(
    request: Request,
    outcomes: Sequence[Outcome],
    agents: Sequence[str],
    *,
    dry_run: bool,
    remarks: Callable[[Survey], Iterable[Block]] = lambda _: (),
) -> Report:
    """The report on writing for the agents. The remarks are about the survey as it is, or would be, afterwards."""
    obstacles = [outcome.obstacle for outcome in outcomes if outcome.obstacle]
    survey = request.survey
    after = survey.changed(State.CURRENT, (outcome.copy for outcome in outcomes if outcome.is_written))
    # Hints are for what is on the disk, which a dry run has not changed.
    hints = advice(survey if dry_run else after, request.scopes, agents)
    return Report(
        [
            *copy_tables(request, ["Result"], ((o.copy, (result_cell(o, dry_run=dry_run),)) for o in outcomes)),
            *remarks(after),
            summary(outcomes, dry_run=dry_run),
            *([] if dry_run else advice_blocks(request, hints)),
        ],
        [outcome_record(outcome) for outcome in outcomes],
        {"dry_run": dry_run},
        agents=agent_records(after, request.scopes, agents or after.finders(request.scopes)),
        advice=advice_records(request, hints),
        errors=[*obstacles, *hints.obstacles],
        exit_code=int(bool(obstacles)),
    )
