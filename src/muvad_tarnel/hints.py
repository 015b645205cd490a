"""Hints: what to do about a survey.

Following a hint never takes a skill from an agent that found it, and the hints of one answer may be followed in any
order and in part. Followed round after round, they end in a state without hints.
"""

from collections.abc import Iterable, Sequence
from itertools import product
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle
from muvad_tarnel.installed.copies import Copy
from muvad_tarnel.installed.survey import Survey, readers_of
from muvad_tarnel.installed.writing import obstacle_to_removing, obstacle_to_writing
from muvad_tarnel.planning import Plan, choose, replaceable
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Hint(NamedTuple):
    """A reason, and a command without the program's name and without the project: `install --scope user`."""

    reason: str
    scope: Scope
    words: tuple[str, ...]


class Advice(NamedTuple):
    """Hints, and the obstacles that keep other hints from being given."""

    hints: tuple[Hint, ...] = ()
    obstacles: tuple[Obstacle, ...] = ()


def advice(
    survey: Survey, scopes: Sequence[Scope], agents: Sequence[str], about: Iterable[str] = AGENT_CONFIG
) -> Advice:
    """What to do so that the agents find every skill, and those that it is `about` find it current and once."""
    hints: list[Hint] = []
    obstacles: list[Obstacle] = []
    for scope in scopes:
        lacking = lacking_at(survey, scope, scopes, agents)
        for part in (updating(survey, scope, about), installing(survey, scope, lacking)):
            hints += part.hints
            obstacles += part.obstacles
    return Advice(tuple(hints or removing(survey, scopes, about)), tuple(dict.fromkeys(obstacles)))


def updating(survey: Survey, scope: Scope, about: Iterable[str] = AGENT_CONFIG) -> Advice:
    """An update, if a copy that the agents read at the scope needs one."""
    stale = replaceable(survey.read_by(about, [scope]), force=False)
    obstacles = tuple(obstacle for copy in stale if (obstacle := obstacle_to_writing(copy)))
    if obstacles or not stale:
        return Advice(obstacles=obstacles)
    places = ", ".join(dict.fromkeys(copy.directory for copy in stale))
    reason = f"{count(len(stale))} at {scope} scope {'is' if len(stale) == 1 else 'are'} not up to date: {places}"
    return Advice((Hint(reason, scope, ("update", "--scope", scope)),))


def lacking_at(survey: Survey, scope: Scope, scopes: Sequence[Scope], agents: Sequence[str]) -> list[str]:
    """The agents that lack a skill at all the scopes, and should find it at this one: where they find most already."""

    def best(agent: str) -> Scope | None:
        usable = [s for s in scopes if AGENT_CONFIG[agent].directories(s)]
        return min(usable, key=lambda s: len(survey.lacking(agent, [s])), default=None)

    return [agent for agent in agents if survey.lacking(agent, scopes) and best(agent) == scope]


def sufficient(survey: Survey, scopes: Sequence[Scope], agents: Sequence[str]) -> Sequence[str]:
    """One of the agents, if an install for it serves all of them, or else all."""
    for agent in agents:
        for scope in scopes:
            if lacking_at(survey, scope, scopes, [agent]):
                plan = Plan(survey, scope, [agent], force=False)
                if not plan.obstacles and not any(plan.after.lacking(other, scopes) for other in agents):
                    return [agent]
    return agents


def installing(survey: Survey, scope: Scope, agents: Sequence[str]) -> Advice:
    """An install for agents that lack a skill: for all of them, or for those without obstacles."""

    def obstacles_to(*keys: str) -> list[Obstacle]:
        return Plan(survey, scope, keys, force=False).obstacles

    if not agents:
        return Advice()
    obstacles: list[Obstacle] = []
    if obstacles_to(*agents):
        obstacles = [obstacle for agent in agents for obstacle in obstacles_to(agent)]
        agents = [agent for agent in agents if not obstacles_to(agent)]
        if not agents or obstacles_to(*agents):
            return Advice(obstacles=tuple(obstacles))
    is_none = all(len(survey.lacking(agent, [scope])) == len(skill.SKILL_TEMPLATES) for agent in agents)
    which = "any skill" if is_none else "every skill"
    reason = f"{names_of(agents)} {'does' if len(agents) == 1 else 'do'} not find {which}"
    return Advice((Hint(reason, scope, ("install", "--scope", scope, *agent_words(agents))),), tuple(obstacles))


def removing(survey: Survey, scopes: Sequence[Scope], about: Iterable[str]) -> list[Hint]:
    """The removals of what nobody needs and the agents find twice, once nothing is to be written, by directory."""
    redundant = [copy for name in skill.SKILL_TEMPLATES for copy in redundant_copies(survey, scopes, name)]
    removed = {copy.file for copy in redundant}
    hints = []
    for scope, directory in dict.fromkeys((copy.scope, copy.directory) for copy in redundant):
        copies = [copy for copy in redundant if (copy.scope, copy.directory) == (scope, directory)]
        names = [copy.skill for copy in copies]
        several = [
            agent
            for agent in readers_of(directory, scope)
            if any(len(survey.finds(agent, scope, name)) > 1 for name in names)
        ]
        if not set(about) & set(several):
            continue
        others = {
            copy.directory: None
            for agent in several
            for name in names
            for copy in survey.finds(agent, scope, name).values()
            if copy.file not in removed
        }
        needless = f"the {'copy' if len(names) == 1 else 'copies'} in {directory} {'is' if len(names) == 1 else 'are'}"
        reason = f"{who_find(several)} {skills_of(names)} in {joined(others)} too; {needless} not needed"
        hints.append(Hint(reason, scope, removal_of(survey, copies)))
    return hints


def doubled(survey: Survey, scopes: Iterable[Scope], agents: Iterable[str], hints: Sequence[Hint]) -> list[str]:
    """Why agents find skills several times, or that there will be hints about it."""
    reasons: dict[str, None] = {}
    for agent, scope, name in product(agents, scopes, skill.SKILL_TEMPLATES):
        if len(found := survey.finds(agent, scope, name).values()) > 1:
            kept = {copy.directory: obstacle_to_removing(copy, force=False) for copy in found}
            whys = [f"A copy in {place} is kept: {why.problem}." for place, why in kept.items() if why]
            reasons |= dict.fromkeys(whys or ["Skills found twice can stay: other agents need each copy."])
    return ["After the install, `status` names the copies that are not needed."] if hints and reasons else list(reasons)


def removal_of(survey: Survey, copies: Sequence[Copy]) -> tuple[str, ...]:
    """The command that removes these copies of one directory."""
    scope, directory = copies[0].scope, copies[0].directory
    is_all = sum(copy.exists for copy in survey.at(scope, directory)) == len(copies)
    names = () if is_all else tuple(word for copy in copies for word in ("--skill", copy.skill))
    return "remove", directory, "--scope", scope, *names


def redundant_copies(survey: Survey, scopes: Iterable[Scope], name: str) -> list[Copy]:
    """Copies of a skill that can all be removed: every agent still finds it, at each scope where it found it."""
    removable: dict[str, Copy] = {}
    rows: dict[str, list[str]] = {}
    for file, copies in survey.by_file.items():
        found = [copy for copy in copies if copy.skill == name and copy.is_found]
        if not found:
            continue
        at_scopes = [copy for copy in found if copy.scope in scopes]
        if at_scopes and not any(obstacle_to_removing(copy, force=False) for copy in found):
            removable[str(file)] = min(at_scopes, key=lambda copy: copy.path != file)
        else:
            rows[f"kept: {file}"] = [str(file)]
    if not removable:
        return []
    for scope in survey.roots:
        for agent in AGENT_CONFIG:
            if files := survey.finds(agent, scope, name):
                rows[f"{agent} at {scope}"] = list(map(str, files))
    kept = choose(rows)
    return [copy for file, copy in removable.items() if file not in kept]


def agent_words(agents: Sequence[str]) -> list[str]:
    """The options that name these agents."""
    if set(agents) == set(AGENT_CONFIG):
        return ["--all-agents"]
    return [word for agent in agents for word in ("--agent", agent)]


def names_of(agents: Sequence[str]) -> str:
    """The agents' names, or their number if that says it better."""
    return joined(AGENT_CONFIG[agent].name for agent in agents) if len(agents) <= 3 else f"{len(agents)} agents"


def who_find(agents: Sequence[str], how: str = "") -> str:
    """The agents with their verb: "Cursor finds", "3 agents already find", "Zed would find"."""
    verb = "finds" if len(agents) == 1 and not how.startswith("would") else "find"
    return " ".join(filter(None, (names_of(agents), how, verb)))


def skills_of(names: Iterable[str]) -> str:
    """The names of skills, or that it is all of them."""
    wanted = list(names)
    return "every skill" if set(wanted) == set(skill.SKILL_TEMPLATES) else joined(wanted)


def count(number: int) -> str:
    """How many copies."""
    return "1 copy" if number == 1 else f"{number} copies"


def joined(words: Iterable[str]) -> str:
    """The words as an English list."""
    *most, last = words
    return f"{', '.join(most)} and {last}" if most else last
