"""A snapshot of the disk: all copies of all skills, and the agents that find them. All reports and hints use one."""

from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from functools import cached_property
from itertools import product
from pathlib import Path
from typing import NamedTuple

from muvad_tarnel.installed.copies import Copy, State, plain, read_directory
from muvad_tarnel.roots import SCOPES, Roots
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Shadow(NamedTuple):
    """Two texts of one skill, one at each scope, and the agents that read both, so that one may hide the other."""

    user: Copy
    project: Copy
    agents: list[str]

    @property
    def is_different(self) -> bool:
        """Whether the texts differ, ignoring line endings and byte order marks. Equal texts do no harm."""
        return plain(self.user.content or b"") != plain(self.project.content or b"")


def directories_read(agents: Iterable[str], scope: Scope) -> list[str]:
    """All skills directories that any of the agents reads at a scope, sorted."""
    return sorted({directory for agent in agents for directory in AGENT_CONFIG[agent].directories(scope)})


def readers_of(directory: str, scope: Scope, agents: Iterable[str] = AGENT_CONFIG) -> list[str]:
    """The agents that read a directory, in the given order."""
    return [agent for agent in agents if directory in AGENT_CONFIG[agent].directories(scope)]


def grouped[Key, Value](pairs: Iterable[tuple[Key, Value]]) -> dict[Key, list[Value]]:
    """The values grouped by key."""
    groups: dict[Key, list[Value]] = {}
    for key, value in pairs:
        groups.setdefault(key, []).append(value)
    return groups


def by_file(copies: Iterable[Copy]) -> dict[Path, list[Copy]]:
    """The copies by file, to which links may lead several. One whose path contains no link comes first."""
    files = grouped((copy.file, copy) for copy in copies)
    for same in files.values():
        if len(same) > 1:  # comparing the paths of all single copies would take a millisecond
            same.sort(key=lambda copy: copy.path != copy.file)
    return files


def each_once(copies: Iterable[Copy]) -> tuple[Copy, ...]:
    """One copy per file, even if links lead several copies to it."""
    return tuple(same[0] for same in by_file(copies).values())


@dataclass(frozen=True)
class Survey:
    """The copies in all directories of the agent table, at all scopes with a root, ordered by scope and directory."""

    roots: Roots
    copies: tuple[Copy, ...]

    @classmethod
    def of(cls, roots: Roots) -> "Survey":
        """Read the disk, each file once per path that leads to it. Problems there raise nothing."""
        copies = (
            copy
            for scope, root in roots.items()
            for directory in directories_read(AGENT_CONFIG, scope)
            for copy in read_directory(scope, root, directory)
        )
        return cls(roots, tuple(copies))

    @cached_property
    def _by_place(self) -> dict[tuple[Scope, str, str], Copy]:
        return {(copy.scope, copy.directory, copy.skill): copy for copy in self.copies}

    def at(self, scope: Scope, directory: str) -> list[Copy]:
        """The copies of all skills in a directory, existing or not."""
        return [self._by_place[scope, directory, name] for name in skill.SKILL_TEMPLATES]

    def read_by(self, agents: Iterable[str], scopes: Iterable[Scope]) -> Iterator[Copy]:
        """The copies, existing or not, in the directories that any of the agents reads."""
        read = {(scope, directory) for scope in scopes for directory in directories_read(agents, scope)}
        return (copy for copy in self.copies if (copy.scope, copy.directory) in read)

    def finds(self, agent: str, scope: Scope, name: str, *, foreign: bool = False) -> list[Copy]:
        """The copies in which an agent finds a skill at a scope, in the order of its directories, each file once."""
        found: dict[Path, Copy] = {}
        for directory in AGENT_CONFIG[agent].directories(scope) if scope in self.roots else ():
            copy = self._by_place[scope, directory, name]
            if copy.is_found or (foreign and copy.state is State.FOREIGN):
                found.setdefault(copy.file, copy)
        return list(found.values())

    def lacking(self, agent: str, scopes: Iterable[Scope]) -> list[str]:
        """The skills that an agent finds at none of the scopes."""
        return [name for name in skill.SKILL_TEMPLATES if not any(self.finds(agent, s, name) for s in scopes)]

    def finders(self, scopes: Iterable[Scope], agents: Iterable[str] = AGENT_CONFIG) -> list[str]:
        """The agents that find any skill at the scopes."""
        places = list(product(scopes, skill.SKILL_TEMPLATES))
        return [agent for agent in agents if any(self.finds(agent, *place) for place in places)]

    def shadows(self, agents: Iterable[str]) -> list[Shadow]:
        """Pairs of texts that an agent reads at the two scopes, not both foreign. Files read at both don't count."""
        pairs = []
        for name, agent in product(skill.SKILL_TEMPLATES, agents):
            users, projects = (self.finds(agent, scope, name, foreign=True) for scope in SCOPES)
            both = {copy.file for copy in users} & {copy.file for copy in projects}
            of_ours = (pair for pair in product(users, projects) if any(copy.is_found for copy in pair))
            pairs += [(pair, agent) for pair in of_ours if both.isdisjoint(copy.file for copy in pair)]
        return [Shadow(user, project, found_by) for (user, project), found_by in grouped(pairs).items()]

    def losses(self, copies: Iterable[Copy], scopes: Sequence[Scope]) -> dict[str, list[str]]:
        """The skills that agents would no longer find at any of the scopes without the copies, by agent."""
        after = self.changed(State.MISSING, copies)
        lacking = ((agent, name) for agent in AGENT_CONFIG for name in after.lacking(agent, scopes))
        return grouped((agent, name) for agent, name in lacking if any(self.finds(agent, s, name) for s in scopes))

    def changed(self, state: State, copies: Iterable[Copy]) -> "Survey":
        """The survey after the files of some copies have been written or removed."""
        files = {copy.file for copy in copies}
        after = (copy.changed(state) if copy.file in files else copy for copy in self.copies)
        return Survey(self.roots, tuple(after))
