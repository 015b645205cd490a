"""The planner with many candidates: the best choice, at once."""

import time

from muvad_tarnel.planning import choose, derived_table
from muvad_tarnel.roots import SCOPES
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG


def test_all_agents_together_take_no_millisecond() -> None:
    for scope in SCOPES:
        rows = {key: record.directories(scope) for key, record in AGENT_CONFIG.items()}
        times = []
        for _ in range(50):
            start = time.perf_counter()
            chosen = choose(rows)
            times.append(time.perf_counter() - start)
        assert min(times) < 0.001
        quick = skill.resolve_skill_dirs(list(AGENT_CONFIG), scope)
        scores = skill._score(tuple(chosen), rows), skill._score(tuple(quick), rows)
        assert scores[0] is not None
        assert scores[1] is not None
        assert scores[0] < scores[1], "the quick choice is worse"
        with derived_table(rows):
            assert skill.resolve_skill_dirs(list(AGENT_CONFIG), scope) == chosen
    assert skill.AGENT_CONFIG is AGENT_CONFIG
