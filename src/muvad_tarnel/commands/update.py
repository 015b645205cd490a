"""`muvad-tarnel skill update`."""

import click

from muvad_tarnel.commands.changes import (
    obstacles_of,
    outcome_record,
    outcome_tables,
    summary,
    write_all,
)
from muvad_tarnel.commands.options import asked_for, dry_run_option, with_output
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import advice_blocks, advice_records, agent_records
from muvad_tarnel.hints import advice
from muvad_tarnel.installed.documents import State
from muvad_tarnel.output.report import Report
from muvad_tarnel.planning import replaceable


@click.command("update")
@asked_for("both")
@click.option("--force", is_flag=True, help="Also replace edited, newer and foreign copies.")
@dry_run_option
@with_output
def update(request: Request, *, force: bool, dry_run: bool) -> Report:
    """Bring every installed copy up to date.

    That is every outdated or incomplete copy, whichever agents read it. Run it after an upgrade of this package. A
    text that this package did not write is kept as SKILL.md.bak when it is replaced.

    \b
    Examples:
      muvad-tarnel skill update
      muvad-tarnel skill update --scope project --dry-run

    \b
    Exit codes:
      0  every copy is up to date, or would be (--dry-run)
      1  a copy could not be updated, or a scope's root could not be found
      2  usage error
    """
    survey = request.survey
    copies = replaceable((copy for copy in survey.copies if copy.scope in request.scopes), force=force)
    outcomes = write_all(request, copies, dry_run=dry_run)
    obstacles = obstacles_of(outcomes)
    after = survey.changed(State.CURRENT, (outcome.copy for outcome in outcomes if outcome.is_written))
    hints = advice(survey if dry_run else after, request.scopes, request.named)
    return Report(
        [
            *outcome_tables(request, outcomes, dry_run=dry_run),
            summary(outcomes, dry_run=dry_run),
            *([] if dry_run else advice_blocks(request, hints)),
        ],
        [outcome_record(outcome) for outcome in outcomes],
        {"dry_run": dry_run},
        agents=agent_records(after, request.scopes, after.finders(request.scopes)),
        advice=advice_records(request, hints),
        errors=[*obstacles, *hints.obstacles],
        exit_code=int(bool(obstacles)),
    )
