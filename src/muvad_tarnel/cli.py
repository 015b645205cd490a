"""The command line `muvad-tarnel`."""

import gc
import sys

import click

from muvad_tarnel import __version__
from muvad_tarnel.commands import Group, skill_group
from muvad_tarnel.commands.spelling import Choice
from muvad_tarnel.output.text import silence


@click.group(cls=Group, context_settings={"help_option_names": ["-h", "--help"]})
@click.version_option(__version__, prog_name="muvad-tarnel", message="%(prog)s %(version)s")
def command_line() -> None:
    """Install skills for AI coding agents."""


command_line.add_command(skill_group)


@command_line.command()
@click.argument("shell", type=Choice(["bash", "zsh", "fish"]))
def completion(shell: str) -> None:
    """Print a shell's completion script.

    \b
    Examples:
      eval "$(muvad-tarnel completion bash)"      in ~/.bashrc
      eval "$(muvad-tarnel completion zsh)"       in ~/.zshrc
      muvad-tarnel completion fish | source       in ~/.config/fish/config.fish
    """
    from click.shell_completion import get_completion_class  # noqa: PLC0415 (only needed here)

    completion_class = get_completion_class(shell)
    assert completion_class is not None  # noqa: S101 (for the type checker: click has all three)
    click.echo(completion_class(command_line, {}, "muvad-tarnel", "_MUVAD_TARNEL_COMPLETE").source())


def main() -> None:
    """Run the command line with the process's arguments, and exit with its code, or 130 after Ctrl-C."""
    gc.disable()  # commands end before a collection pays off
    try:
        sys.exit(command_line(prog_name="muvad-tarnel", standalone_mode=False))
    except click.ClickException as error:
        failure = error
    except click.Abort:  # after Ctrl-C
        sys.exit(130)
    except OSError as error:  # from the help, version or completion, which click prints
        silence(sys.stdout)
        failure = click.ClickException(f"standard output cannot be written to: {error.strerror}")
    try:
        failure.show()
    except OSError:  # discard its buffered output, which would fail again at exit
        silence(sys.stderr)
    sys.exit(failure.exit_code)
