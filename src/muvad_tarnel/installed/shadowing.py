"""Skills that agents find for the user as well as in the project, where one copy may hide the other."""

from collections.abc import Iterable, Iterator
from contextlib import suppress
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import plain_text
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Shadow(NamedTuple):
    """Two files of one skill, one at each scope, and the agents that find both."""

    user: Copy
    project: Copy
    agents: tuple[str, ...]

    @property
    def is_different(self) -> bool:
        """Whether the texts differ, line ends and byte order marks aside. Equal texts do no harm."""
        return text_of(self.user) != text_of(self.project)

    def copy(self, scope: Scope) -> Copy:
        """The copy at a scope."""
        return self.user if scope == "user" else self.project


def text_of(copy: Copy) -> str | bytes | None:
    """The text of a copy, as far as it is one."""
    with suppress(UnicodeDecodeError):
        return plain_text(copy.content or b"")
    return copy.content


def shadows_among(survey: Survey, agents: Iterable[str]) -> list[Shadow]:
    """Every two files that one of the agents finds of a skill at the two scopes. A file at both is no shadow."""
    found: dict[tuple[Copy, Copy], list[str]] = {}
    for agent, user, project in pairs_among(survey, agents):
        found.setdefault((user, project), []).append(agent)
    return [Shadow(user, project, tuple(keys)) for (user, project), keys in found.items()]


def pairs_among(survey: Survey, agents: Iterable[str]) -> Iterator[tuple[str, Copy, Copy]]:
    """Agents with two files that they find, by skill."""
    keys = list(agents)
    for name in skill.SKILL_TEMPLATES:
        for agent in keys:
            users, projects = survey.finds(agent, "user", name), survey.finds(agent, "project", name)
            both = users.keys() & projects.keys()
            yield from (
                (agent, user, project)
                for user in users.values()
                for project in projects.values()
                if not {user.file, project.file} & both
            )


def losers(survey: Survey, copies: Iterable[Copy]) -> list[str]:
    """The agents that would find a skill nowhere else at a copy's scope if the copies were removed."""
    gone = list(copies)
    return [
        agent
        for agent in AGENT_CONFIG
        if any(
            (found := survey.finds(agent, copy.scope, copy.skill)) and found.keys() <= {other.file for other in gone}
            for copy in gone
        )
    ]
