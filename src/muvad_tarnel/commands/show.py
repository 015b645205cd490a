"""`muvad-tarnel skill show`."""

import click

from muvad_tarnel import __version__
from muvad_tarnel.commands.options import output_options, speaking
from muvad_tarnel.installed.copies import document
from muvad_tarnel.output.report import Document, Record, Report
from muvad_tarnel.setup import skill


@click.command("show")
@click.argument("name", type=click.Choice(list(skill.SKILL_TEMPLATES)), metavar="NAME")
@output_options
def show(name: str, **options: object) -> None:
    """Print a skill's document, as an install writes it.

    NAME is tarnel, tarnel-map or tarnel-wiki.

    \b
    Examples:
      muvad-tarnel skill show tarnel | less

    \b
    Exit codes:
      0  the document was printed
      2  the command line is wrong
    """
    text = document(__version__, name)
    result: Record = {"skill": name, "version": __version__, "text": text}
    speaking(lambda _: Report([Document(text)], [result]), "show")(**options)
