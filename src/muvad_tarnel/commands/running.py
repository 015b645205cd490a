"""Running a command: its console, its errors, its exit code."""

import os
from collections.abc import Callable

import click

from muvad_tarnel.failure import Failure, obstacle_of
from muvad_tarnel.output.console import Console
from muvad_tarnel.output.report import Report
from muvad_tarnel.output.text import Style, silence


def speaking(answer: Callable[..., Report], name: str) -> Callable[..., None]:
    """Take the output options: run `answer` with a console, print its report and exit."""

    def run(*, json: bool, quiet: bool, verbose: bool, color: str, **options: object) -> None:
        style = Style.choose(color, os.environ)
        console = Console(command=name, style=style, json=json, quiet=quiet, verbose=verbose)
        try:
            report = answer(console, **options)
        except Failure as failure:
            report = Report([], [], errors=[failure.obstacle], exit_code=1)
        except OSError as error:
            report = Report([], [], errors=[obstacle_of(error, error.filename or name)], exit_code=1)
        try:
            console.show(report)
        except OSError as error:
            import sys  # noqa: PLC0415

            silence(sys.stdout)
            raise click.ClickException(f"standard output cannot be written to: {error.strerror}") from error
        click.get_current_context().exit(report.exit_code)

    return run
