"""Which directories an install writes, given what is there already. The module's planner decides."""

from collections.abc import Iterable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from functools import cached_property

from muvad_tarnel.failure import Obstacle
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.documents import State
from muvad_tarnel.installed.survey import Survey, each_once, grouped, readers_of
from muvad_tarnel.installed.writing import obstacle_to_writing
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, AgentRecord, Scope

# The fast path takes this many candidates, more than all agents together have, without trying every choice.
_SEARCH_LIMIT = 256


@contextmanager
def derived_table(rows: Mapping[str, Sequence[str]]) -> Iterator[None]:
    """Have the module plan for these rows, whatever their number: it looks its table and limit up at each call."""
    usual = skill.AGENT_CONFIG, skill._EXHAUSTIVE_SEARCH_LIMIT
    skill.AGENT_CONFIG = {key: AgentRecord(key, tuple(row), tuple(row), "") for key, row in rows.items()}
    skill._EXHAUSTIVE_SEARCH_LIMIT = _SEARCH_LIMIT
    try:
        yield
    finally:
        skill.AGENT_CONFIG, skill._EXHAUSTIVE_SEARCH_LIMIT = usual


def choose(rows: Mapping[str, Sequence[str]]) -> list[str]:
    """The best set of candidates in which every row has one. The best has the fewest rows with several."""
    with derived_table(rows):
        return skill.resolve_skill_dirs(list(rows))


def additions(survey: Survey, scope: Scope, agents: Sequence[str]) -> list[Copy]:
    """The places to be written so that the agents find every skill at the scope.

    What is there stays, and counts: those who find it already find as little as possible twice.
    """
    added: list[Copy] = []
    for name in skill.SKILL_TEMPLATES:
        lacking = [agent for agent in agents if not survey.finds(agent, scope, name)]
        if lacking:
            added += additions_of(survey, scope, name, lacking, {copy.directory for copy in added})
    return added


def additions_of(survey: Survey, scope: Scope, name: str, lacking: Sequence[str], added: set[str]) -> list[Copy]:
    """The places to be written so that the agents, which lack a skill, find it. `added` are directories for others."""
    places = {copy.directory: copy for copy in survey.copies if (copy.scope, copy.skill) == (scope, name)}
    # Directories that links make one are one candidate, named after the first that is no link.
    aliases: dict[str, str] = {}
    for same in grouped(places.values()).values():
        first = min(same, key=lambda copy: (copy.path != copy.file, copy.directory)).directory
        aliases |= dict.fromkeys((copy.directory for copy in same), first)
    held = {aliases[copy.directory] for copy in places.values() if copy.is_found}
    in_use = added | {copy.directory for copy in survey.copies if copy.scope == scope and copy.is_found}

    def preference(directory: str) -> int:
        copy = places[directory]
        if copy.state is State.FOREIGN or obstacle_to_writing(copy):
            return 2
        return directory not in in_use

    def row(agent: str) -> list[str]:
        return list(dict.fromkeys(aliases[d] for d in sorted(AGENT_CONFIG[agent].directories(scope), key=preference)))

    rows = {f"held: {directory}": [directory] for directory in sorted(held)}
    rows |= {agent: row(agent) for agent in lacking}
    candidates = {candidate for candidates in rows.values() for candidate in candidates}
    for agent in AGENT_CONFIG:
        if agent not in lacking and survey.finds(agent, scope, name):
            reached = dict.fromkeys(aliases[directory] for directory in AGENT_CONFIG[agent].directories(scope))
            rows[agent] = [candidate for candidate in reached if candidate in candidates]
    return [places[directory] for directory in choose(rows) if directory not in held]


class Plan:
    """What an install `writes`, in the order of directories and skills: new copies, and those that it replaces."""

    def __init__(self, survey: Survey, scope: Scope, agents: Sequence[str], *, force: bool) -> None:
        """Plan an install for agents at a scope."""
        self.survey, self.scope, self.agents = survey, scope, agents
        added = additions(survey, scope, agents)
        files = {copy.file for copy in added}
        read = (copy for copy in survey.read_by(agents, [scope]) if copy.file not in files)
        chosen = {copy.path for copy in (*added, *replaceable(read, force=force))}
        self.writes = tuple(copy for copy in survey.copies if copy.scope == scope and copy.path in chosen)

    @cached_property
    def after(self) -> Survey:
        """The survey as it would be after the install."""
        return self.survey.changed(State.CURRENT, self.writes)

    @property
    def obstacles(self) -> list[Obstacle]:
        """What would keep the install from succeeding, as far as can be foreseen."""
        return [obstacle for copy in self.writes if (obstacle := obstacle_to_writing(copy))]

    @property
    def unserved(self) -> list[str]:
        """The agents that would lack a skill because of obstacles."""
        written = [copy for copy in self.writes if not obstacle_to_writing(copy)]
        after = self.survey.changed(State.CURRENT, written)
        return [agent for agent in self.agents if after.lacking(agent, [self.scope])]

    @property
    def directories(self) -> dict[str, list[str]]:
        """The directories through which the agents find skills afterwards, and which of the agents read each."""
        found = {
            copy.directory: None
            for agent in self.agents
            for name in skill.SKILL_TEMPLATES
            for copy in self.after.finds(agent, self.scope, name).values()
        }
        return {directory: readers_of(directory, self.scope, self.agents) for directory in sorted(found)}


def replaceable(copies: Iterable[Copy], *, force: bool) -> tuple[Copy, ...]:
    """The copies that an update replaces, each file once."""
    forced = (State.MODIFIED, State.NEWER, State.FOREIGN) if force else ()
    return each_once(copy for copy in copies if copy.is_stale or copy.state in forced)
