"""The plan of an install, and the reasons for it."""

from functools import cache
from typing import NamedTuple

from muvad_tarnel.installed.readers import directories_of, directories_read
from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.setup import skill

# Above this many candidate directories the module doesn't try every choice.
FULL_SEARCH_LIMIT = 12


@cache
def module_plan(agents: tuple[str, ...], scope: Scope) -> dict[str, list[str]]:
    """The module's plan: directories, and the agents that each serves. Not to be changed, for it is computed once.

    With many agents it takes longer than all the reading of files.
    """
    return skill.skill_dir_plan(agents, scope)


class Role(NamedTuple):
    """What a planned directory is to one of the agents that read it."""

    agent: str
    directory: str
    native: str  # the agent's own directory
    planned: tuple[str, ...]  # all planned directories that the agent reads

    @property
    def is_native(self) -> bool:
        """Whether the directory is the agent's own."""
        return self.directory == self.native


class Plan(NamedTuple):
    """The directories that an install writes, with the agents that read each and the reasons.

    `one_each` is what an install of one directory per agent would write, and `avoided` the agents that would then
    read several of them.
    """

    scope: Scope
    agents: tuple[str, ...]
    directories: dict[str, tuple[str, ...]]
    roles: tuple[Role, ...]
    candidates: int
    one_each: tuple[str, ...]
    avoided: tuple[str, ...]

    @property
    def is_quick_choice(self) -> bool:
        """Whether there were too many candidates for every choice to be tried."""
        return self.candidates > FULL_SEARCH_LIMIT

    @property
    def twice(self) -> tuple[str, ...]:
        """The agents that read several of the planned directories."""
        return tuple(dict.fromkeys(role.agent for role in self.roles if len(role.planned) > 1))


def plan_for(agents: tuple[str, ...], scope: Scope) -> Plan:
    """The module's plan for the agents, explained."""
    directories = {directory: tuple(keys) for directory, keys in module_plan(agents, scope).items()}
    one_each = tuple(sorted({directories_of(agent, scope)[0] for agent in agents}))
    return Plan(
        scope,
        agents,
        directories,
        tuple(
            Role(agent, directory, directories_of(agent, scope)[0], read_by(agent, scope, tuple(directories)))
            for directory, keys in directories.items()
            for agent in keys
        ),
        len(directories_read(agents, scope)),
        one_each,
        tuple(agent for agent in agents if len(read_by(agent, scope, one_each)) > 1),
    )


def read_by(agent: str, scope: Scope, directories: tuple[str, ...]) -> tuple[str, ...]:
    """Those of the directories that an agent reads."""
    return tuple(directory for directory in directories if directory in directories_of(agent, scope))
