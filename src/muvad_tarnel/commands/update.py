"""`muvad-tarnel skill update`."""

import click

from muvad_tarnel.commands.changes import Outcome, report_of, write_all
from muvad_tarnel.commands.options import dry_run_option, skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.installed.copies import State
from muvad_tarnel.installed.survey import each_once
from muvad_tarnel.output.report import Line, Report, Tone
from muvad_tarnel.planning import replaceable


@skill_command("both")
@click.option("--force", is_flag=True, help="Also replace modified, newer and foreign copies.")
@dry_run_option
def update(request: Request, *, force: bool) -> Report:
    """Bring every installed copy up to date.

    That is every outdated or incomplete copy, whichever agents read it. Run it after an upgrade of this package. A
    text that this package did not write is kept as SKILL.md.bak when it is replaced.
    """
    copies = [copy for copy in request.survey.copies if copy.scope in request.scopes]
    unreadable = each_once(copy for copy in copies if copy.state is State.UNREADABLE)
    outcomes = [*write_all(request, replaceable(copies, force=force)), *map(Outcome, unreadable)]
    return report_of(request, outcomes, (), [] if outcomes else [Line("No copy needs an update.", Tone.GOOD)])
