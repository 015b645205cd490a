"""`muvad-tarnel skill install`."""

import click

from muvad_tarnel.commands.changes import (
    Outcome,
    obstacles_of,
    outcome_record,
    outcome_tables,
    summary,
    write_all,
)
from muvad_tarnel.commands.options import asked_for, dry_run_option, with_output
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.wording import advice_blocks, advice_records, agent_records, twice_lines
from muvad_tarnel.hints import advice, joined
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import each_once
from muvad_tarnel.output.report import Block, Line, Report, Tone
from muvad_tarnel.planning import Plan
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


@click.command("install")
@asked_for("one", agents="claude")
@click.option("--force", is_flag=True, help="Also replace edited, newer and foreign copies that the agents read.")
@dry_run_option
@with_output
def install(request: Request, *, force: bool, dry_run: bool) -> Report:
    """Install the skills where the agents look.

    An agent that finds every skill already gets nothing new. For the others the directories are chosen so that as few
    agents as possible find a skill twice; `plan` shows the choice. Outdated and incomplete copies that the agents
    read are updated.

    Running it again is safe. A text that this package did not write is kept as SKILL.md.bak when it is replaced;
    `diff` shows it beforehand.

    \b
    Examples:
      muvad-tarnel skill install             for Claude Code, for you alone
      muvad-tarnel skill install --detect    for the agents in use
      muvad-tarnel skill install --scope project --all-agents

    \b
    Exit codes:
      0  every skill is in place, or would be (--dry-run)
      1  a skill could not be installed, or no agent was detected
      2  usage error
    """
    scope, survey = request.scope, request.survey
    plan = Plan(survey, scope, request.agents, force=force)
    writes = {outcome.copy.file: outcome for outcome in write_all(request, plan.writes, dry_run=dry_run)}
    read = each_once(copy for copy in survey.read_by(request.agents, [scope]) if copy.exists or copy.file in writes)
    outcomes = [writes.get(copy.file) or Outcome(copy) for copy in read]
    obstacles = obstacles_of(outcomes)
    after = survey.changed(State.CURRENT, (outcome.copy for outcome in outcomes if outcome.is_written))
    # Hints are for what is on the disk, which a dry run has not changed.
    hints = advice(survey if dry_run else after, request.scopes, request.agents)
    verbs = ("would find", "would find") if dry_run else ("finds", "find")
    return Report(
        [
            *outcome_tables(request, outcomes, dry_run=dry_run),
            *satisfied(request),
            summary(outcomes, dry_run=dry_run),
            *twice_lines(request, after, scope, verbs),
            *([] if dry_run else advice_blocks(request, hints)),
        ],
        [outcome_record(outcome) for outcome in outcomes],
        {"dry_run": dry_run, "scope": scope, "root": str(request.root)},
        agents=agent_records(after, [scope], request.agents),
        advice=advice_records(request, hints),
        errors=[*obstacles, *hints.obstacles],
        exit_code=int(bool(obstacles)),
    )


def satisfied(request: Request) -> list[Block]:
    """The agents that need nothing new, by where they find every skill."""
    places: dict[tuple[str, ...], list[str]] = {}
    for agent in request.agents:
        if not request.survey.lacking(agent, [request.scope]):
            found = [
                request.place(request.scope, copy.directory)
                for name in skill.SKILL_TEMPLATES
                for copy in request.survey.finds(agent, request.scope, name).values()
            ]
            places.setdefault(tuple(dict.fromkeys(found)), []).append(AGENT_CONFIG[agent].name)
    return [
        Line(
            f"{joined(names)} already {'finds' if len(names) == 1 else 'find'} every skill in {joined(where)}.",
            Tone.GOOD,
        )
        for where, names in places.items()
    ]
