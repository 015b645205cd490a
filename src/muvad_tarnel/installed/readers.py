"""Which agents read which directory, and where an agent's environment has moved its own."""

from collections.abc import Iterable, Mapping
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel.installed.scopes import Scope
from muvad_tarnel.setup.config import AGENT_CONFIG


def directories_of(agent: str, scope: Scope) -> tuple[str, ...]:
    """The skills directories that an agent reads, its native one first."""
    record = AGENT_CONFIG[agent]
    return record.skills_user_roots if scope == "user" else record.skills_project_roots


def directories_read(agents: Iterable[str], scope: Scope) -> list[str]:
    """All skills directories that any of the agents reads, in ascending order."""
    return sorted({directory for agent in agents for directory in directories_of(agent, scope)})


def readers_of(directory: str, scope: Scope, agents: Iterable[str] = AGENT_CONFIG) -> tuple[str, ...]:
    """Those of the agents that read a directory, in the order given."""
    return tuple(agent for agent in agents if directory in directories_of(agent, scope))


def names_of(agents: Iterable[str]) -> str:
    """The agents' names as people know them."""
    return ", ".join(AGENT_CONFIG[agent].name for agent in agents)


class Moved(NamedTuple):
    """A user directory of an agent that the environment has moved to where this package doesn't install."""

    agent: str
    variable: str
    fixed: Path
    actual: Path


def moved_directories(agents: Iterable[str], home: Path, environment: Mapping[str, str]) -> list[Moved]:
    """The user directories of the agents that the environment has moved."""
    found = []
    for agent in agents:
        move = AGENT_CONFIG[agent].moved_by
        place = environment.get(move.variable, "") if move else ""
        if not move or not place or Path(place) == home / move.directory:
            continue
        for directory in directories_of(agent, "user"):
            fixed = home / directory
            if fixed.is_relative_to(home / move.directory):
                actual = Path(place).absolute() / fixed.relative_to(home / move.directory)
                found.append(Moved(agent, move.variable, fixed, actual))
    return found


def is_in_use(agent: str, home: Path, environment: Mapping[str, str]) -> bool:
    """Whether the agent's marker directory holds more than skills, which an installer may have put there."""
    record = AGENT_CONFIG[agent]
    marker = home / record.marker
    if record.moved_by and (place := environment.get(record.moved_by.variable)):
        moved = home / record.moved_by.directory
        if marker.is_relative_to(moved):
            return holds_more_than_skills(marker) or holds_more_than_skills(Path(place) / marker.relative_to(moved))
    return holds_more_than_skills(marker)


def holds_more_than_skills(directory: Path) -> bool:
    """Whether the directory exists and anything besides `skills` stands in it."""
    try:
        return any(entry.name != "skills" for entry in directory.iterdir())
    except (FileNotFoundError, NotADirectoryError):
        return False
    except OSError:
        return True  # it is there, and not for us to look into


def agents_in_use(home: Path, environment: Mapping[str, str]) -> tuple[str, ...]:
    """The agents whose marker directories say that they are in use, in the table's order."""
    return tuple(agent for agent in AGENT_CONFIG if is_in_use(agent, home, environment))
