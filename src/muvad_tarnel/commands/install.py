"""`muvad-tarnel skill install`."""

from collections.abc import Iterator

import click

from muvad_tarnel.commands.changes import Outcome, report_of, survey_after, write_all
from muvad_tarnel.commands.options import dry_run_option, skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import differences, skills_by_place
from muvad_tarnel.hints import joined, skills_of, who_find
from muvad_tarnel.installed.survey import each_once, grouped
from muvad_tarnel.output.report import Block, Line, Report, Tone
from muvad_tarnel.planning import Plan


@skill_command("one", agents="claude")
@click.option("--force", is_flag=True, help="Also replace modified, newer and foreign copies that the agents read.")
@dry_run_option
def install(request: Request, *, force: bool) -> Report:
    """Install the skills where the agents look.

    An agent that finds every skill already gets nothing new. For the others the directories are chosen so that as few
    agents as possible find a skill twice; `plan` shows the choice. Outdated and incomplete copies that the agents
    read are updated.

    Running it again is safe. A text that this package did not write is kept as SKILL.md.bak when it is replaced;
    `diff` shows it beforehand. A foreign copy is replaced without --force if no other directory serves the agent.

    \b
    Examples:
      muvad-tarnel skill install             for Claude Code, for you alone
      muvad-tarnel skill install --detect    for the agents in use
      muvad-tarnel skill install --scope project --all-agents
    """
    scope, survey = request.scope, request.survey
    plan = Plan(survey, scope, request.agents, force=force)
    writes = {outcome.copy.file: outcome for outcome in write_all(request, plan.writes)}
    read = each_once(copy for copy in survey.read_by(request.agents, [scope]) if copy.exists or copy.file in writes)
    outcomes = [writes.get(copy.file) or Outcome(copy) for copy in read]

    others = differences(request, (outcome.copy for outcome in outcomes if outcome.action == "none"))
    report = report_of(request, outcomes, request.agents, (*others, *finding_lines(request, outcomes)))
    return report._replace(facts={"dry_run": request.dry_run, "scope": scope, "root": str(request.roots[scope])})


def finding_lines(request: Request, outcomes: list[Outcome]) -> Iterator[Block]:
    """Say which agents need no changes and which find a skill several times, in one line per set of places."""
    scope, after = request.scope, survey_after(request, outcomes)
    busy = {outcome.copy.file for outcome in outcomes if outcome.action != "none"}
    lines = []
    for agent in dict.fromkeys((*request.agents, *request.in_use)):
        is_idle = not any(copy.file in busy for copy in request.survey.read_by([agent], [scope]))
        for places, names in skills_by_place(request, after, agent, scope).items():
            if len(places) > 1 or (places and is_idle and agent in request.agents):
                word = "already" if is_idle else "would" if request.dry_run else ""
                lines.append(((word, tuple(sorted(places)), tuple(names)), agent))
    for (word, where, which), who in grouped(lines).items():
        text = f"{who_find(who, word)} {skills_of(which)} in {joined(where)}."
        yield Line(text, Tone.GOOD if len(where) == 1 else Tone.WARNING)
