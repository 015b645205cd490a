"""Agent tables: the four agents of most benchmarks, and larger tables generated from a fixed seed."""

import random
from dataclasses import dataclass


@dataclass(frozen=True, slots=True)
class Agent:
    """What the module reads of an agent: its skills directories at each scope, the agent's own first."""

    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]


type AgentTable = dict[str, Agent]

FOUR: AgentTable = {
    "claude": Agent((".claude/skills",), (".claude/skills",)),
    "cursor": Agent((".cursor/skills", ".claude/skills"), (".cursor/skills", ".claude/skills")),
    "copilot": Agent((".github/skills", ".claude/skills"), (".copilot/skills", ".claude/skills")),
    "windsurf": Agent((".windsurf/skills",), (".codeium/windsurf/skills",)),
}


def separate_agents(count: int) -> AgentTable:
    """Agents with one directory each, which no other agent reads."""
    return {f"agent-{i}": Agent((f".agent-{i}/skills",), (f".agent-{i}/skills",)) for i in range(count)}


def overlapping_agents(agents: int, directories: int) -> AgentTable:
    """Agents that read their own directory and up to three others.

    With fewer directories than agents, some agents share an own directory. Half of the others are among the first
    three directories, which stand for `.claude/skills`.
    """
    generator = random.Random(agents)  # noqa: S311  # the same table every time
    names = [f".agent-{i}/skills" for i in range(directories)]
    table = {}
    for i in range(agents):
        others = [
            generator.choice(names[:3] if generator.random() < 0.5 else names) for _ in range(generator.randint(0, 3))
        ]
        roots = tuple(dict.fromkeys([names[i % directories], *others]))
        table[f"agent-{i}"] = Agent(roots, roots)
    return table
