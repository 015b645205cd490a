"""Runs the command line as `python -m muvad_tarnel`."""

from muvad_tarnel.cli import main

main()
