"""Skills that agents find for the user as well as in the project, where one copy may hide the other."""

from collections.abc import Sequence
from itertools import product
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import plain
from muvad_tarnel.installed.survey import Survey
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import Scope


class Shadow(NamedTuple):
    """Two files of one skill, one at each scope, and the agents that find both."""

    user: Copy
    project: Copy
    agents: tuple[str, ...]

    @property
    def is_different(self) -> bool:
        """Whether the texts differ, line ends and byte order marks aside. Equal texts do no harm."""
        return plain(self.user.content or b"") != plain(self.project.content or b"")

    def copy(self, scope: Scope) -> Copy:
        """The copy at a scope."""
        return self.user if scope == "user" else self.project


def shadows_among(survey: Survey, agents: Sequence[str]) -> list[Shadow]:
    """Every two files that one of the agents finds of a skill at the two scopes. A file at both is no shadow."""
    readers: dict[tuple[Copy, Copy], list[str]] = {}
    for name, agent in product(skill.SKILL_TEMPLATES, agents):
        users, projects = survey.finds(agent, "user", name), survey.finds(agent, "project", name)
        both = users.keys() & projects.keys()
        for user, project in product(users.values(), projects.values()):
            if user.file not in both and project.file not in both:
                readers.setdefault((user, project), []).append(agent)
    return [Shadow(user, project, tuple(found_by)) for (user, project), found_by in readers.items()]
