"""The planner is fast with many candidates, and restores the agent table."""

from functools import partial
from timeit import repeat

from muvad_tarnel.planning import choose
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


def test_planning_for_all_agents_takes_less_than_a_millisecond() -> None:
    for scope in SCOPES:
        rows = {key: record.directories(scope) for key, record in AGENT_CONFIG.items()}
        assert min(repeat(partial(choose, rows), number=1, repeat=50)) < 0.001
    assert skill.AGENT_CONFIG is AGENT_CONFIG
