"""Choose the directories that an install writes, given the existing copies, with the module's planner."""

from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass
from functools import cached_property
from itertools import product

from muvad_tarnel.failure import Obstacle
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import Survey, by_file, each_once, grouped
from muvad_tarnel.installed.writing import obstacle_to_writing
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, AgentRecord, Scope

# More candidates than all agents have together. The fast path handles this many without trying every combination.
_SEARCH_LIMIT = 256


def choose(rows: Mapping[str, Sequence[str]]) -> list[str]:
    """The best set of candidates that covers every row: the one that covers the fewest rows more than once."""
    usual = skill.AGENT_CONFIG, skill._EXHAUSTIVE_SEARCH_LIMIT  # the module looks these up at each call
    skill.AGENT_CONFIG = {key: AgentRecord(key, tuple(row), tuple(row), "") for key, row in rows.items()}
    skill._EXHAUSTIVE_SEARCH_LIMIT = _SEARCH_LIMIT
    try:
        return skill.resolve_skill_dirs(list(rows))
    finally:
        skill.AGENT_CONFIG, skill._EXHAUSTIVE_SEARCH_LIMIT = usual


def additions(survey: Survey, scope: Scope, name: str, agents: Sequence[str]) -> list[Copy]:
    """The copies to write so that the agents find a skill at the scope, preferably beside other skills.

    Existing copies stay and count: as few as possible of the agents that already find the skill find it twice.
    """
    lacking = [agent for agent in agents if not survey.finds(agent, scope, name)]
    if not lacking:
        return []
    in_use = {copy.directory for copy in survey.copies if copy.scope == scope and copy.is_found}
    places = [copy for copy in survey.copies if (copy.scope, copy.skill) == (scope, name)]
    # Directories that are the same through links are one candidate.
    actual = {copy.directory: same[0] for same in by_file(places).values() for copy in same}

    def preference(directory: str) -> tuple[bool, bool]:
        copy = actual[directory]
        is_taken = copy.state is State.FOREIGN or obstacle_to_writing(copy) is not None
        return is_taken, directory not in in_use

    def reached(agent: str) -> list[str]:
        return list(dict.fromkeys(actual[directory].directory for directory in AGENT_CONFIG[agent].directories(scope)))

    held = {copy.directory for copy in actual.values() if copy.is_found}
    rows = {f"held: {directory}": [directory] for directory in sorted(held)}
    rows |= {agent: sorted(reached(agent), key=preference) for agent in lacking}
    offered = {directory for row in rows.values() for directory in row}
    for agent in AGENT_CONFIG:
        if agent not in lacking and survey.finds(agent, scope, name):
            rows[agent] = [directory for directory in reached(agent) if directory in offered]
    return [actual[directory] for directory in choose(rows) if directory not in held]


@dataclass(frozen=True)
class Plan:
    """An install for agents at a scope."""

    survey: Survey
    scope: Scope
    agents: Sequence[str]
    force: bool = False

    @cached_property
    def writes(self) -> tuple[Copy, ...]:
        """The new copies and those to replace, ordered by directory and skill."""
        replaced = replaceable(self.survey.read_by(self.agents, [self.scope]), force=self.force)
        # Agents find the copies that --force replaces, so they need no others.
        basis = self.survey.changed(State.CURRENT, (copy for copy in replaced if not obstacle_to_writing(copy)))
        added: list[Copy] = []
        for name in skill.SKILL_TEMPLATES:
            added += additions(basis.changed(State.CURRENT, added), self.scope, name, self.agents)
        return tuple(sorted(each_once((*replaced, *added)), key=lambda copy: copy.path))

    @cached_property
    def after(self) -> Survey:
        """The survey as it would be after the install."""
        return self.survey.changed(State.CURRENT, self.writes)

    @cached_property
    def obstacles(self) -> list[Obstacle]:
        """The foreseeable reasons why the install would fail."""
        return obstacles_to(self.writes)

    @cached_property
    def directories(self) -> dict[str, list[str]]:
        """The directories, with the agents that find skills in each after the install. Linked ones count as one."""
        files = by_file(self.after.read_by(self.agents, [self.scope]))
        found = dict.fromkeys(
            (files[copy.file][0].directory, agent)
            for agent, name in product(self.agents, skill.SKILL_TEMPLATES)
            for copy in self.after.finds(agent, self.scope, name)
        )
        return dict(sorted(grouped(found).items()))


def plans(survey: Survey, scopes: Sequence[Scope], agents: Iterable[str]) -> list[Plan]:
    """The installs for agents that lack a skill at all the scopes, each agent at the scope where it finds the most."""
    lacking = [agent for agent in agents if survey.lacking(agent, scopes)]
    best = ((min(scopes, key=lambda scope: len(survey.lacking(agent, [scope]))), agent) for agent in lacking)
    return [Plan(survey, scope, there) for scope, there in grouped(best).items()]


def replaceable(copies: Iterable[Copy], *, force: bool) -> tuple[Copy, ...]:
    """The copies that an update replaces, each file once."""
    forced = (State.MODIFIED, State.NEWER, State.FOREIGN) if force else ()
    return each_once(copy for copy in copies if copy.is_stale or copy.state in forced)


def obstacles_to(copies: Iterable[Copy]) -> list[Obstacle]:
    """The obstacles to writing the copies."""
    return [obstacle for copy in copies if (obstacle := obstacle_to_writing(copy))]
