"""Hints: commands that fix the problems a survey shows.

Following a hint never makes an agent lose a skill. The hints of one report can be followed in any order, all or only
some of them. Following them repeatedly leads to a state without hints.
"""

from collections.abc import Collection, Iterable, Sequence
from dataclasses import replace
from itertools import product
from typing import NamedTuple

from muvad_tarnel.failure import Obstacle
from muvad_tarnel.installed.copies import Copy, State
from muvad_tarnel.installed.survey import Survey, by_file, grouped, readers_of
from muvad_tarnel.installed.writing import obstacle_to_removing
from muvad_tarnel.planning import Plan, choose, obstacles_to, plans, replaceable
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope


class Hint(NamedTuple):
    """A reason, and a command without the program's name and the project: `install --scope user`.

    The obstacles would make the command fail. A hint that has any is not shown.
    """

    reason: str
    scope: Scope
    words: tuple[str, ...]
    obstacles: Sequence[Obstacle] = ()


def advice(
    survey: Survey, scopes: Sequence[Scope], agents: Sequence[str], about: Iterable[str] = AGENT_CONFIG
) -> list[Hint]:
    """Hints that make the agents find every skill, and the agents in `about` find each one current and only once."""
    wanted = [hint for scope in scopes for hint in updating(survey, scope, about)]
    wanted += [hint for plan in plans(survey, scopes, agents) for hint in installing(plan)]
    return wanted if any(not hint.obstacles for hint in wanted) else [*wanted, *removing(survey, scopes, about)]


def updating(survey: Survey, scope: Scope, about: Iterable[str] = AGENT_CONFIG) -> list[Hint]:
    """A hint to update, if a copy that the agents read at the scope needs it."""
    stale = replaceable(survey.read_by(about, [scope]), force=False)
    if not stale:
        return []
    reason = which_are("not up to date", stale)
    if edited := [copy for copy in stale if not copy.is_ours]:
        reason += f"; the edited text of {count(len(edited))} will be kept as SKILL.md.bak"
    return [Hint(reason, scope, ("update", "--scope", scope), obstacles_to(stale))]


def sufficient(survey: Survey, scopes: Sequence[Scope], agents: Sequence[str]) -> Sequence[str]:
    """One of the agents if an install for it serves all of them, otherwise all of them."""
    for plan in (plan for agent in agents for plan in plans(survey, scopes, [agent])):
        if not plan.obstacles and not any(plan.after.lacking(other, scopes) for other in agents):
            return plan.agents
    return agents


def in_the_way(survey: Survey, scopes: Sequence[Scope], agent: str) -> list[Obstacle]:
    """The obstacles to adding skills an agent lacks beside those it finds. Without them, it may need no install."""
    lacking = survey.lacking(agent, scopes)
    places = (copy for copy in survey.read_by([agent], scopes) if copy.skill in lacking)
    return obstacles_to(copy for copy in places if any(c.is_found for c in survey.at(copy.scope, copy.directory)))


def installing(whole: Plan) -> list[Hint]:
    """Install hints for a plan: one for all its agents, or one for those with obstacles and one for the rest."""
    scope, parts = whole.scope, [whole]
    if whole.obstacles:
        blocked = [agent for agent in whole.agents if replace(whole, agents=[agent]).obstacles]
        others = [agent for agent in whole.agents if agent not in blocked]
        parts = [replace(whole, agents=group) for group in (blocked, others) if group]
    hints = []
    for plan in parts:
        which = "every skill" if plan.survey.finders([scope], plan.agents) else "any skill"
        reason = f"{names_of(plan.agents)} {'does' if len(plan.agents) == 1 else 'do'} not find {which}"
        if foreign := [copy for copy in plan.writes if copy.state is State.FOREIGN]:
            reason += f"; {count(len(foreign))} not written by this package will be replaced and kept as SKILL.md.bak"
        hints.append(Hint(reason, scope, ("install", "--scope", scope, *agent_words(plan.agents)), plan.obstacles))
    return hints


def removing(survey: Survey, scopes: Sequence[Scope], about: Iterable[str]) -> list[Hint]:
    """Hints to remove redundant copies that the agents read, one per directory. Assumes nothing is left to write."""
    redundant = [copy for name in skill.SKILL_TEMPLATES for copy in redundant_copies(survey, scopes, name)]
    after = survey.changed(State.MISSING, redundant)
    hints = []
    for (scope, directory), copies in grouped(((copy.scope, copy.directory), copy) for copy in redundant).items():
        names, place = [copy.skill for copy in copies], copies[0].place
        readers = readers_of(directory, scope)
        if not set(about) & set(readers):
            continue
        found = [after.finds(agent, scope, name) for agent, name in product(readers, names)]
        common = set.intersection(*({copy.place for copy in each} for each in found))
        where = f"in {joined(sorted(common))}" if common else "elsewhere"
        edited = sorted({each[0].skill for each in found if all(copy.state is State.MODIFIED for copy in each)})
        but = f" ({joined(edited)} {'is' if len(edited) == 1 else 'are'} modified there)" if edited else ""
        reason = f"{who_find(readers)} {skills_of(names)} {where} too{but}; no copy is needed in {place}"
        hints.append(Hint(reason, scope, removal_of(copies)))
    return hints


def doubled(survey: Survey, scopes: Sequence[Scope], agents: Sequence[str], when: str = "") -> list[str]:
    """For agents that find a skill several times: the copies not needed, prefixed by `when`, or why all are kept."""
    found = [survey.finds(*place) for place in product(agents, scopes, skill.SKILL_TEMPLATES)]
    doubles = [copy for copies in found if len(copies) > 1 for copy in copies]
    if not doubles:
        return []
    if needless := removing(survey, scopes, agents):
        return [f"{when}{hint.reason}." for hint in needless]
    kept = [(copy.place, obstacle_to_removing(copy, force=False)) for copy in doubles]
    reasons = dict.fromkeys(f"No removal is suggested for {place}: {why.problem}." for place, why in kept if why)
    return list(reasons) or ["Skills found twice can stay: other agents need each copy."]


def removal_of(copies: Sequence[Copy]) -> tuple[str, ...]:
    """The command that removes these copies of one directory."""
    is_all = len(copies) == len(skill.SKILL_TEMPLATES)
    names = () if is_all else tuple(word for copy in copies for word in ("--skill", copy.skill))
    return "remove", copies[0].directory, "--scope", copies[0].scope, *names


def redundant_copies(survey: Survey, scopes: Iterable[Scope], name: str) -> list[Copy]:
    """Copies of a skill that can all be removed: every agent still finds it at each scope where it found it before.

    An agent that finds a copy which needs no update keeps one of these: an update may be impossible.
    """
    files = by_file(copy for copy in survey.copies if copy.skill == name and copy.is_found)
    rows: dict[str, list[str]] = {}
    for file, copies in files.items():
        is_in_scope = any(copy.scope in scopes for copy in copies)
        if not is_in_scope or any(obstacle_to_removing(copy, force=False) for copy in copies):
            rows[f"kept: {file}"] = [str(file)]
    for agent, scope in product(AGENT_CONFIG, survey.roots):
        if copies := survey.finds(agent, scope, name):
            rows[f"{agent} at {scope}"] = [str(c.file) for c in [c for c in copies if not c.is_stale] or copies]
    kept = choose(rows)
    redundant = (copies for file, copies in files.items() if str(file) not in kept)
    return [next(copy for copy in copies if copy.scope in scopes) for copies in redundant]


def agent_words(agents: Sequence[str]) -> list[str]:
    """The options that name these agents."""
    if set(agents) == set(AGENT_CONFIG):
        return ["--all-agents"]
    return [word for agent in agents for word in ("--agent", agent)]


def names_of(agents: Sequence[str]) -> str:
    """The agents' names, or their number if there are more than three."""
    return joined(AGENT_CONFIG[agent].name for agent in agents) if len(agents) <= 3 else f"{len(agents)} agents"


def who_find(agents: Sequence[str], how: str = "") -> str:
    """The agents with their verb: "Cursor finds", "3 agents already find", "Zed would find"."""
    verb = "finds" if len(agents) == 1 and not how.startswith("would") else "find"
    return " ".join(filter(None, (names_of(agents), how, verb)))


def skills_of(names: Collection[str], every: str = "every skill") -> str:
    """The names of the skills, or `every` for all of them."""
    return every if len(names) == len(skill.SKILL_TEMPLATES) else joined(names)


def count(number: int) -> str:
    """A number of copies in words."""
    return "1 copy" if number == 1 else f"{number} copies"


def which_are(what: str, copies: Sequence[Copy]) -> str:
    """A clause on copies at one scope: "1 copy at user scope is modified: ~/.claude/skills"."""
    places = ", ".join(dict.fromkeys(copy.place for copy in copies))
    return f"{count(len(copies))} at {copies[0].scope} scope {'is' if len(copies) == 1 else 'are'} {what}: {places}"


def joined(words: Iterable[str]) -> str:
    """The words as an English list."""
    *most, last = words
    return f"{', '.join(most)} and {last}" if most else last
