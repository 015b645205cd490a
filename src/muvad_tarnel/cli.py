"""The command line `muvad-tarnel`."""

from typing import Any

import click

from muvad_tarnel import __version__
from muvad_tarnel.console import printable
from muvad_tarnel.skill_commands import skill_group


class CommandLine(click.Group):
    """The outermost command group: failures that a user can cause end as one line on standard error, exit code 1."""

    def invoke(self, ctx: click.Context) -> Any:
        try:
            return super().invoke(ctx)
        except BrokenPipeError:
            raise  # the reader has gone: click ends quietly
        except OSError as error:
            raise click.ClickException(printable(str(error))) from error
        except RuntimeError as error:
            # A home directory that cannot be found is a bare RuntimeError; click's own exits and a RecursionError
            # are subclasses and none of a user's making.
            if type(error) is not RuntimeError:
                raise
            raise click.ClickException(printable(str(error))) from error


@click.group(cls=CommandLine, context_settings={"help_option_names": ["-h", "--help"]})
@click.version_option(__version__, prog_name="muvad-tarnel", message="%(prog)s %(version)s")
def command_line() -> None:
    """Semantic code intelligence for AI coding agents."""


command_line.add_command(skill_group)


def main() -> None:
    """Run the command line on the process's arguments and exit with its code."""
    command_line()
