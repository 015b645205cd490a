"""The program `muvad-tarnel`, also run as `python -m muvad_tarnel`."""

import sys


def main() -> None:
    """Run the command line. Ctrl-C ends its imports without a traceback, too."""
    try:
        from muvad_tarnel import cli  # noqa: PLC0415

        cli.main()
    except KeyboardInterrupt:
        sys.exit(130)


if __name__ == "__main__":
    main()
