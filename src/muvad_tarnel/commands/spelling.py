"""Options whose values are suggested to those who mistype them."""

from collections.abc import Iterable

import click


def did_you_mean(word: str, known: Iterable[str]) -> str:
    """The question, after a space, if a known word is near; else nothing."""
    from difflib import get_close_matches  # noqa: PLC0415 (needed after a mistake only)

    near = get_close_matches(word.lower(), known, 1)
    return f" Did you mean {near[0]!r}?" if near else ""


class Choice(click.Choice[str]):
    """One of several words."""

    def get_invalid_choice_message(self, value: object, ctx: click.Context | None) -> str:
        """Name the words, and the one that was probably meant."""
        return super().get_invalid_choice_message(value, ctx) + did_you_mean(str(value), self.choices)
