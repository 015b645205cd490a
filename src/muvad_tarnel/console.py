"""Printing text that others have written: file names above all."""

import re
import sys

import click

# Control characters, line separators, direction overrides and undecodable bytes of file names (lone surrogates):
# they would break the line, steer the terminal or fail to encode.
_UNPRINTABLE = re.compile(r"[\x00-\x1f\x7f-\x9f\u2028\u2029\u202a-\u202e\u2066-\u2069\ud800-\udfff]")


def printable(text: str) -> str:
    """`text` as one harmless line: what cannot be shown is replaced."""
    return _UNPRINTABLE.sub("\N{REPLACEMENT CHARACTER}", text)


def print_line(text: str) -> None:
    """Print `text` as one line on standard output, with `?` for what its encoding cannot express."""
    encoding = sys.stdout.encoding if sys.stdout else "utf-8"  # None: started with standard output closed
    click.echo(printable(text).encode(encoding, "replace").decode(encoding))
