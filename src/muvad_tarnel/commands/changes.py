"""Change copies and report the outcomes. Shared by `install`, `update` and `remove`."""

from collections import Counter
from collections.abc import Callable, Iterable, Iterator, Sequence
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel import __version__
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import TONES, advised, agent_records, copy_record, copy_tables, obstacles_of
from muvad_tarnel.failure import Obstacle
from muvad_tarnel.hints import advice, count, doubled
from muvad_tarnel.installed import writing
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.output.report import Block, Line, Report, Tone

_DONE = {"install": "installed", "update": f"updated to {__version__}", "replace": "replaced", "remove": "removed"}


class Outcome(NamedTuple):
    """The outcome for a copy. `action` is "install", "update", "replace", "remove", or "none" if none was needed."""

    copy: Copy
    action: str = "none"
    kept: Path | None = None
    obstacle: Obstacle | None = None

    @property
    def is_done(self) -> bool:
        """Whether the action has succeeded, or would in a dry run."""
        return self.action != "none" and not self.obstacle


def change_each(
    request: Request,
    copies: Iterable[Copy],
    obstacle_to: Callable[[Copy], Obstacle | None],
    change: Callable[[Copy], Path | None],
    action: str = "",
) -> Iterator[Outcome]:
    """Change the copies one by one, even if some fail. In a dry run, only look for obstacles."""
    if not request.dry_run:
        writing.clean_up(copy for copy in request.survey.copies if copy.scope in request.scopes)
    for copy in copies:
        kept, obstacle = None, obstacle_to(copy)
        if not obstacle and not request.dry_run:
            try:
                kept = change(copy)
            except OSError as error:
                obstacle = writing.obstacle_met(error, copy)
        written = "install" if not copy.exists else "update" if copy.is_stale else "replace"
        yield Outcome(copy, action or written, kept, obstacle)


def write_all(request: Request, copies: Iterable[Copy]) -> list[Outcome]:
    """Write the copies, and note where each replaced text that isn't ours is kept."""
    outcomes = []
    for outcome in change_each(request, copies, writing.obstacle_to_writing, writing.replace):
        copy, kept = outcome.copy, outcome.kept
        if kept or (request.dry_run and outcome.is_done and copy.exists and not copy.is_ours):
            how = f"is kept as {kept}" if kept else "would be kept as SKILL.md.bak"
            request.console.note(f"{copy.path}: the old text {how}", is_important=True)
        outcomes.append(outcome)
    return outcomes


def result_cell(outcome: Outcome, *, dry_run: bool) -> Line:
    """The table cell for one outcome."""
    copy, action = outcome.copy, outcome.action
    if outcome.obstacle:
        real, dry = ("kept", "would be kept") if action == "remove" else ("failed", "would fail")
        return Line(dry if dry_run else real, Tone.BAD)
    if action != "none":
        is_usual = action == "update" or copy.state in (State.CURRENT, State.MISSING)
        former = "" if is_usual else f" ({copy.state.value})"
        return Line((f"would {action}" if dry_run else _DONE[action]) + former, Tone.GOOD)
    text = "already up to date" if copy.state is State.CURRENT else f"{copy.state.value} and left alone"
    tone = TONES[copy.state]
    return Line(text, Tone.WARNING if tone is Tone.BAD else tone)  # an unchanged copy is never a failure


def summary(outcomes: Sequence[Outcome], *, dry_run: bool) -> Line:
    """One line: how many files were changed, and the results for the other copies."""
    changed = sum(outcome.is_done for outcome in outcomes)
    files = "1 file" if changed == 1 else f"{changed} files"
    verb, past = ("remove", "removed") if outcomes[0].action == "remove" else ("write", "written")
    parts = [f"would {verb} {files}" if dry_run else f"{files} {past}"] if changed else []
    others = Counter(result_cell(outcome, dry_run=dry_run) for outcome in outcomes if not outcome.is_done)
    parts += [f"{count(number)} {cell.text}" for cell, number in others.items()]
    text = ", ".join(parts) + " (dry run)" * dry_run
    tones = {cell.tone for cell in others}
    tone = next((tone for tone in (Tone.BAD, Tone.WARNING) if tone in tones), Tone.GOOD)
    return Line(f"{text[0].upper()}{text[1:]}.", tone)


def survey_after(request: Request, outcomes: Iterable[Outcome]) -> Survey:
    """The survey after the changes, including those that a dry run only shows."""
    done = [outcome for outcome in outcomes if outcome.is_done]
    is_removal = any(outcome.action == "remove" for outcome in done)
    return request.survey.changed(State.MISSING if is_removal else State.CURRENT, (o.copy for o in done))


def report_of(request: Request, outcomes: Sequence[Outcome], agents: Sequence[str], remarks: Iterable[Block]) -> Report:
    """The report on changes for the agents, with remarks after the summary."""
    dry_run, after = request.dry_run, survey_after(request, outcomes)
    obstacles = [outcome.obstacle for outcome in outcomes if outcome.obstacle]
    unreadable = obstacles_of(request, (o.copy for o in outcomes if o.action == "none"))
    # Don't suggest trying again right after a failure. In a dry run, hints wouldn't match the disk.
    given = [] if obstacles or dry_run else advised(request, advice(after, request.scopes, agents))
    finders = (*agents, *request.in_use) if agents and not (obstacles or given) else ()
    is_ahead = dry_run and any(outcome.is_done for outcome in outcomes)
    doubles = doubled(after, request.scopes, finders, "After the install, " if is_ahead else "")
    return Report(
        [
            *copy_tables(request, "Result", ((o.copy, result_cell(o, dry_run=dry_run)) for o in outcomes)),
            *([summary(outcomes, dry_run=dry_run)] if outcomes else []),
            *remarks,
            *map(Line, doubles),
        ],
        [
            copy_record(o.copy) | {"action": "failed" if o.obstacle else o.action, "kept": o.kept and str(o.kept)}
            for o in outcomes
        ],
        {"dry_run": dry_run},
        agents=agent_records(after, request.scopes, agents or request.survey.finders(request.scopes)),
        advice=given,
        errors=[*obstacles, *unreadable],
        exit_code=int(bool(obstacles)),
    )
