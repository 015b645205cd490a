"""Suggestions for mistyped words."""

from collections.abc import Collection

import click

# Other tools' names for these commands and agents.
_SYNONYMS = {"delete": "remove", "list": "status", "rm": "remove", "uninstall": "remove", "upgrade": "update"}
_SYNONYMS |= {"github-copilot": "copilot", "vscode": "copilot"}


def did_you_mean(word: str, known: Collection[str], prefix: str = "") -> str:
    """A suggestion with a leading space, or an empty text if no known word is similar. `prefix` precedes the word."""
    from difflib import get_close_matches  # noqa: PLC0415 (only needed after a mistake)

    synonym = _SYNONYMS.get(word.lower())
    near = [synonym] if synonym and synonym in known else get_close_matches(word.lower(), known, 1, cutoff=0.7)
    return f" Did you mean {prefix + near[0]!r}?" if near else ""


class Choice(click.Choice[str]):
    """A choice that suggests the most similar word."""

    def get_invalid_choice_message(self, value: object, ctx: click.Context | None) -> str:
        guess = " Repeat the option for each." if "," in str(value) else did_you_mean(str(value), self.choices)
        if len(self.choices) > 10:  # the agents
            return f"{value!r} is unknown.{guess} 'muvad-tarnel skill agents' lists them all."
        return super().get_invalid_choice_message(value, ctx) + guess
