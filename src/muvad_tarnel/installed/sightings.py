"""Who sees which copies, who sees a skill twice, and what would mend it."""

from collections import Counter
from collections.abc import Collection, Iterable
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy, State, read_directories
from muvad_tarnel.installed.plans import module_plan
from muvad_tarnel.installed.readers import directories_of, directories_read
from muvad_tarnel.installed.scopes import Roots, Scope
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG

# States in which an agent finds nothing that it could load.
_INVISIBLE = (State.MISSING, State.UNREADABLE)


# The copies that an agent finds of a skill at one scope, each file once, in the order of the agent's directories. The
# keys are agents with skills.
type Sightings = dict[tuple[str, str], tuple[Copy, ...]]


class SeenTwice(NamedTuple):
    """Agents that find skills in several directories of one scope.

    `avoided_by` are the agents whose joint install would have avoided it, none where no choice of directories does.
    `mended_by` are the directories to remove copies from, none where each is needed.
    """

    agents: tuple[str, ...]
    scope: Scope
    directories: tuple[str, ...]
    skills: tuple[str, ...]
    avoided_by: tuple[str, ...]
    mended_by: tuple[str, ...]


class OneFile(NamedTuple):
    """Directories through which one and the same file is reached, as links make them."""

    scope: Scope
    directories: tuple[str, ...]


def copies_read_by(agents: Iterable[str], scope: Scope, roots: Roots) -> list[Copy]:
    """Every skill's place in every directory that one of the agents reads, in ascending order of directories."""
    return read_directories(roots.get("project"), scope, directories_read(agents, scope))


def file_of(copy: Copy) -> object:
    """What tells one file from another: device and inode, or the path of a file that is yet to be written."""
    return copy.identity or str(copy.path.parent.resolve())


def sightings(copies: Iterable[Copy], agents: Iterable[str], scope: Scope) -> Sightings:
    """What each agent finds among the copies."""
    visible = {
        (copy.directory, copy.skill): copy for copy in copies if copy.scope == scope and copy.state not in _INVISIBLE
    }
    found: Sightings = {}
    for agent in agents:
        for name in skill.SKILL_TEMPLATES:
            files: dict[object, Copy] = {}
            for directory in directories_of(agent, scope):
                if copy := visible.get((directory, name)):
                    files.setdefault(file_of(copy), copy)
            found[agent, name] = tuple(files.values())
    return found


def as_if_installed(copies: Iterable[Copy], directories: Collection[str]) -> list[Copy]:
    """The copies as an install into the directories would leave them, as far as being found goes."""
    return [
        copy._replace(state=State.CURRENT) if copy.state is State.MISSING and copy.directory in directories else copy
        for copy in copies
    ]


def concerned(copies: Iterable[Copy], agents: Iterable[str], scope: Scope) -> tuple[str, ...]:
    """The agents, and those besides for whom someone has installed: what is theirs alone holds a copy."""
    held = {copy.directory for copy in copies if copy.scope == scope and copy.exists}
    natives = {agent: directories_of(agent, scope)[0] for agent in AGENT_CONFIG}
    alone = [native for native, count in Counter(natives.values()).items() if count == 1]
    theirs = (agent for agent, native in natives.items() if native in held and native in alone)
    return tuple(dict.fromkeys((*agents, *theirs)))


def outdated_outside(copies: Iterable[Copy], agents: tuple[str, ...], scope: Scope) -> tuple[str, ...]:
    """The directories with outdated copies that the agents read and an install for them doesn't write."""
    plan = module_plan(agents, scope)
    read = directories_read(agents, scope)
    outdated = (copy.directory for copy in copies if copy.scope == scope and copy.state is State.OUTDATED)
    return tuple(dict.fromkeys(directory for directory in outdated if directory in read and directory not in plan))


def seen_twice(copies: list[Copy], agents: tuple[str, ...], scope: Scope) -> list[SeenTwice]:
    """The agents that find a skill through several files of one scope, with what would mend it."""
    # Skills by who sees them where: seldom does that differ from skill to skill.
    skills: dict[tuple[str, tuple[str, ...]], list[str]] = {}
    for (agent, name), seen in sightings(copies, concerned(copies, agents, scope), scope).items():
        if len(seen) > 1:
            skills.setdefault((agent, tuple(sorted(copy.directory for copy in seen))), []).append(name)
    outdated = outdated_outside(copies, agents, scope)
    # Agents by all the rest.
    together: dict[tuple[tuple[str, ...], ...], list[str]] = {}
    for (agent, directories), names in skills.items():
        avoided_by, mended_by = remedy_for(agent, agents, scope, directories)
        # An outdated copy is to be removed anyway: removing the others as well would leave nothing.
        outdated_ones = tuple(directory for directory in directories if directory in outdated)
        if len(outdated_ones) < len(directories):
            mended_by = outdated_ones or mended_by
        together.setdefault((directories, tuple(names), avoided_by, mended_by), []).append(agent)
    return [
        SeenTwice(tuple(keys), scope, directories, names, avoided_by, mended_by)
        for (directories, names, avoided_by, mended_by), keys in together.items()
    ]


def owners_of(directory: str, scope: Scope, preferred: Collection[str]) -> tuple[str, ...]:
    """The agents whose native directory this is: the preferred among them, else all, for none stands out."""
    owners = [agent for agent in AGENT_CONFIG if directories_of(agent, scope)[0] == directory]
    return tuple([agent for agent in owners if agent in preferred] or owners)


def remedy_for(
    agent: str, agents: tuple[str, ...], scope: Scope, directories: tuple[str, ...]
) -> tuple[tuple[str, ...], tuple[str, ...]]:
    """The agents whose joint install would have kept `agent` from reading all the directories, and what to remove now.

    They are the agents asked for and those that the directories belong to.
    """
    owners = {owner for directory in directories for owner in owners_of(directory, scope, agents)}
    together = tuple(key for key in AGENT_CONFIG if key in {agent, *agents, *owners})
    plan = module_plan(together, scope)
    kept = [directory for directory in directories if directory in plan]
    is_avoided = len(kept) == 1 == sum(agent in readers for readers in plan.values())
    return together if is_avoided else (), tuple(d for d in directories if d not in plan) if kept else ()


def linked_directories(copies: Iterable[Copy]) -> list[OneFile]:
    """The directories of one scope that hold one and the same file."""
    groups: dict[tuple[Scope, str, tuple[int, int]], list[str]] = {}
    for copy in copies:
        if copy.identity:
            groups.setdefault((copy.scope, copy.skill, copy.identity), []).append(copy.directory)
    found = (OneFile(scope, tuple(names)) for (scope, _, _), names in groups.items() if len(names) > 1)
    return list(dict.fromkeys(found))
