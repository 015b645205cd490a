"""`muvad-tarnel skill show`."""

import click

from muvad_tarnel import __version__
from muvad_tarnel.commands.options import skill_command
from muvad_tarnel.commands.request import Request
from muvad_tarnel.commands.spelling import Choice
from muvad_tarnel.output.report import Document, Report, Table
from muvad_tarnel.setup import skill


@skill_command("none")
@click.argument("name", type=Choice(skill.SKILL_TEMPLATES), metavar="[NAME]", required=False)
def show(_: Request, *, name: str | None) -> Report:
    """Print a skill's document, or list the skills.

    NAME is tarnel, tarnel-map or tarnel-wiki. The document is printed as an install writes it.
    """
    texts = {each: skill.render_skill_md(skill_name=each) for each in ([name] if name else skill.SKILL_TEMPLATES)}
    table = Table("", ("Skill", "Purpose"), [(each, purpose(text)) for each, text in texts.items()])
    return Report(
        [Document(texts[name]) if name else table],
        [{"skill": s, "version": __version__, "purpose": purpose(t), "text": t} for s, t in texts.items()],
    )


def purpose(text: str) -> str:
    """The first sentence of a document's description."""
    description = text.partition("description: >-\n")[2].partition("\nversion:")[0]
    return " ".join(description.split()).partition(". ")[0] + "."
