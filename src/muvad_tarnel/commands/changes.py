"""Change copies and report the outcomes. Shared by `install`, `update` and `remove`."""

from collections.abc import Iterable, Sequence
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


def change_all(
    request: Request, copies: Iterable[Copy], *, removes: bool = False, force: bool = False
) -> list[Outcome]:
    """Write or remove the copies, even if some fail, and note each replaced or removed text that isn't ours."""
    dry_run, outcomes = request.dry_run, []
    if not dry_run:
        writing.clean_up(copy for copy in request.survey.copies if copy.scope in request.scopes)
    for copy in copies:
        action = "remove" if removes else "install" if not copy.exists else "update" if copy.is_stale else "replace"
        obstacle = writing.obstacle_to_removing(copy, force=force) if removes else writing.obstacle_to_writing(copy)
        reason, kept = writing.reason_to_keep(copy) if removes else writing.difference(copy), None
        place = (copy.link if removes else None) or copy.path
        if not obstacle and not dry_run:
            try:
                if removes:
                    writing.remove(copy, force=force)
                else:
                    kept = writing.replace(copy)
            except OSError as error:
                obstacle = writing.obstacle_met(error, copy)
        keeps = kept or (dry_run and copy.exists and not copy.is_ours)
        if not obstacle and (reason if removes else keeps):
            verb = "remove" if removes else "replace"
            how = f"is kept as {kept}" if kept else "would be kept as SKILL.md.bak"
            backup = "" if removes else f"; the old text {how}"
            done = f"would {verb}" if dry_run else f"{verb}d"
            request.console.note(f"{done} {place}, {reason}{backup}", is_important=True)
        outcomes.append(Outcome(copy, action, kept, obstacle))
    return outcomes


def result_cell(outcome: Outcome, *, dry_run: bool) -> Line:
    """The table cell for one outcome."""
    state, action = outcome.copy.state, outcome.action
    if outcome.obstacle:
        real, dry = ("kept", "would be kept") if action == "remove" else ("failed", "would fail")
        return Line(dry if dry_run else real, Tone.BAD)
    if action == "none":
        if state is State.CURRENT:
            return Line("already up to date", Tone.GOOD)
        # An unchanged copy is never a failure.
        return Line(f"{state.value}, left alone", Tone.WARNING if TONES[state] is Tone.BAD else TONES[state])
    downgraded = f" newer {outcome.copy.version}" if action == "replace" and state is State.NEWER else ""
    return Line((f"would {action}" if dry_run else _DONE[action]) + downgraded, Tone.GOOD)


def summary(outcomes: Sequence[Outcome], *, dry_run: bool) -> Line:
    """One line: how many copies were changed, are current or failed."""
    done = [outcome.action for outcome in outcomes if outcome.is_done]
    failed = [result_cell(outcome, dry_run=dry_run).text for outcome in outcomes if outcome.obstacle]
    idle = [outcome.copy.state for outcome in outcomes if outcome.action == "none"]
    files = "1 file" if len(done) == 1 else f"{len(done)} files"
    verb, past = ("remove", "removed") if "remove" in done else ("write", "written")
    parts = [f"would {verb} {files}" if dry_run else f"{files} {past}"] if done else []
    if current := idle.count(State.CURRENT):
        parts.append(f"{count(current)} already up to date")
    others = (state for state in dict.fromkeys(idle) if state is not State.CURRENT)
    parts += [f"{idle.count(state)} {state.value} left alone" for state in others]
    if failed:
        parts.append(f"{len(failed)} {failed[0]}")
    text = ", ".join(parts) + " (dry run)" * dry_run
    tone = Tone.BAD if failed else Tone.WARNING if State.UNREADABLE in idle else Tone.GOOD
    return Line(f"{text[0].upper()}{text[1:]}.", tone)


def survey_after(request: Request, outcomes: Iterable[Outcome]) -> Survey:
    """The survey after the changes, including those that a dry run only shows."""
    done = [outcome for outcome in outcomes if outcome.is_done]
    removed = request.survey.changed(State.MISSING, (o.copy for o in done if o.action == "remove"))
    return removed.changed(State.CURRENT, (o.copy for o in done if o.action != "remove"))


def report_of(request: Request, outcomes: Sequence[Outcome], agents: Sequence[str], remarks: Iterable[Block]) -> Report:
    """The report on changes for the agents, with remarks after the summary."""
    dry_run, after = request.dry_run, survey_after(request, outcomes)
    obstacles = [outcome.obstacle for outcome in outcomes if outcome.obstacle]
    unreadable = obstacles_of(request, (o.copy for o in outcomes if o.action == "none"))
    # Don't suggest trying again right after a failure. In a dry run, hints wouldn't match the disk.
    given = [] if obstacles or dry_run else advised(request, advice(after, request.scopes, agents))
    finders = (*agents, *request.in_use) if agents and not (obstacles or given) else ()
    doubles = doubled(after, request.scopes, finders, "After the install, " if dry_run else "")
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
