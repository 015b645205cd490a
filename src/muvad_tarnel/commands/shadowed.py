"""`muvad-tarnel skill shadowed`."""

import click

from muvad_tarnel.commands.options import Request, asked_for, output_options
from muvad_tarnel.commands.wording import command_lines, skills_in_words
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.shadowing import Pair, pairs_among
from muvad_tarnel.installed.sightings import copies_read_by
from muvad_tarnel.output.report import Block, Cell, Line, Record, Report, Table, Tone
from muvad_tarnel.setup.config import AGENT_CONFIG

EFFECTS = {
    "user": "user copy hides project copy",
    "project": "project copy hides user copy",
    "both": "both are listed",
    "unknown": "not documented",
}


@click.command("shadowed")
@asked_for("pair")
@click.option("--check", is_flag=True, help="Exit 1 if a skill is shadowed.")
@output_options
def shadowed(request: Request, *, check: bool) -> Report:
    """Show skills that another copy may hide.

    They are those that an agent finds for the user as well as in the project. Such an agent may use one copy,
    however old, and never the other. What each agent does is said as far as it is known. Two paths that lead to one
    file are no shadow.

    \b
    Examples:
      muvad-tarnel skill shadowed --all-agents
      muvad-tarnel skill shadowed --check          for scripts

    \b
    Exit codes:
      0  the report is complete; with --check: no skill is shadowed
      1  a scope could not be looked at, or no agent was detected;
         with --check: a skill is shadowed
      2  the command line is wrong
    """
    copies = [copy for scope in request.roots for copy in copies_read_by(request.agents, scope, request.roots)]
    pairs = pairs_among(copies, request.agents)
    shadows = [pair for pair in pairs if not pair.is_one_file]
    blocks: list[Block] = [table(request, pairs)] if pairs else []
    if not shadows:
        blocks.append(Line("No skill is shadowed.", Tone.GOOD))
    if len(shadows) < len(pairs):
        blocks.append(Line("Where both paths are one file there is nothing to mend."))
    if shadows:
        names = skills_in_words(dict.fromkeys(pair.skill for pair in shadows))
        blocks.append(Line(f"Found at both scopes: {names}. To keep the project's copies only:", Tone.WARNING))
        blocks += command_lines(*(("mended by:", line) for line in remedies(request, shadows, copies)))
    return Report(blocks, [record(request, pair, copies) for pair in pairs], exit_code=int(check and bool(shadows)))


def effect(pair: Pair) -> Cell:
    """What an agent makes of the two copies."""
    if pair.is_one_file:
        return Cell("one and the same file", Tone.GOOD)
    return Cell(EFFECTS[pair.precedence], Tone.WARNING)


def table(request: Request, pairs: list[Pair]) -> Table:
    """The pairs of copies, by the places they stand in, and what each agent makes of them."""

    def place(copy: Copy) -> str:
        return request.place(copy.scope, copy.directory)

    skills: dict[tuple[str, str, str, Cell], list[str]] = {}
    for pair in pairs:
        key = (place(pair.user), place(pair.project), AGENT_CONFIG[pair.agent].name, effect(pair))
        skills.setdefault(key, []).append(pair.skill)
    is_all = {skills_in_words(names) for names in skills.values()} == {"every skill"}
    rows: list[tuple[str | Cell, ...]] = [
        (user, project, *([] if is_all else [skills_in_words(names)]), agent, cell)
        for (user, project, agent, cell), names in sorted(skills.items(), key=lambda item: item[0][:2])
    ]
    return Table(
        f"User scope: {request.roots['user']}, project scope: {request.roots['project']}",
        ("User copy", "Project copy", *([] if is_all else ["Skills"]), "Agent", "Effect"),
        rows,
        wrapping=("Skills", "Effect"),
        shared=(2 if is_all else 3, 0),
    )


def remedies(request: Request, shadows: list[Pair], copies: list[Copy]) -> list[str]:
    """The removals of the user's copies: of all in a directory, or of the shadowed ones by name."""
    shadowed_in: dict[str, dict[str, None]] = {}
    for pair in shadows:
        shadowed_in.setdefault(pair.user.directory, {})[pair.skill] = None
    lines = []
    for directory, names in shadowed_in.items():
        held = [copy.skill for copy in copies if copy.exists and (copy.scope, copy.directory) == ("user", directory)]
        chosen = () if set(held) == set(names) else tuple(word for name in names for word in ("--skill", name))
        lines.append(request.line("remove", "user", rest=(directory, *chosen)))
    return lines


def record(request: Request, pair: Pair, copies: list[Copy]) -> Record:
    """A pair for programs."""
    return {
        "skill": pair.skill,
        "agent": pair.agent,
        "user_path": str(pair.user.path),
        "project_path": str(pair.project.path),
        "same_file": pair.is_one_file,
        "precedence": pair.precedence,
        "effect": effect(pair).text,
        "mended_by": None if pair.is_one_file else remedies(request, [pair], copies)[0],
    }
