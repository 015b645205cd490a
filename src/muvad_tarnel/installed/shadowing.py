"""Skills that an agent finds for the user as well as in the project, and which copy it then uses."""

from collections.abc import Iterator
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.readers import directories_of
from muvad_tarnel.installed.scopes import Scope, same_file
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Precedence


class Pair(NamedTuple):
    """Two copies of one skill that one agent finds, one at each scope."""

    agent: str
    skill: str
    user: Copy
    project: Copy
    is_one_file: bool

    @property
    def precedence(self) -> Precedence:
        """Which of the two the agent uses."""
        return AGENT_CONFIG[self.agent].precedence


def pairs_among(copies: list[Copy], agents: tuple[str, ...]) -> list[Pair]:
    """Every pair of copies that one of the agents finds at both scopes, by skill, then by agent."""
    places = {(copy.scope, copy.directory, copy.skill): copy for copy in copies if copy.exists}

    def found(agent: str, scope: Scope, name: str) -> list[Copy]:
        keys = ((scope, directory, name) for directory in directories_of(agent, scope))
        return [places[key] for key in keys if key in places]

    def pairs_of(agent: str, name: str) -> Iterator[Pair]:
        users = found(agent, "user", name)
        for project in found(agent, "project", name):
            # A file that the agent finds for the user anyway is no second copy, whatever else it finds there.
            one_file = [user for user in users if same_file(user.path, project.path)]
            for user in one_file or users:
                yield Pair(agent, name, user, project, bool(one_file))

    return [pair for name in skill.SKILL_TEMPLATES for agent in agents for pair in pairs_of(agent, name)]
