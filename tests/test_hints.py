"""Hints can be followed in any state of the disk, all or some of them, in any order, and lead to a good state."""

import random
from itertools import product
from pathlib import Path
from typing import Any

import pytest
from running import agents, answer, put, run

from muvad_tarnel.installed.copies import State
from muvad_tarnel.installed.survey import Survey, by_file
from muvad_tarnel.installed.writing import obstacle_to_removing
from muvad_tarnel.setup.config import AGENT_CONFIG, Scope
from muvad_tarnel.setup.skill import SKILL_TEMPLATES

AGENTS = tuple(AGENT_CONFIG)
NAMES = tuple(SKILL_TEMPLATES)
KINDS = ("current", "outdated", "outdated, edited", "newer", "modified", "incomplete", "foreign", "unreadable")


def disturb(chance: random.Random, roots: dict[Scope, Path]) -> None:
    """Change installed skills as people, other tools and crashes do."""
    for scope, root in roots.items():
        for _ in range(chance.randrange(3)):
            run("install", "--scope", scope, *agents(*chance.sample(AGENTS, chance.choice([1, 1, 2, 3]))))
        for _ in range(chance.randrange(4)):
            directory = chance.choice(AGENT_CONFIG[chance.choice(AGENTS)].directories(scope))
            if not (root / directory).is_symlink():
                put(root, directory, chance.choice(KINDS), *chance.sample(NAMES, chance.choice([1, 3])))
        for path in sorted(root.rglob("SKILL.md")):
            if chance.random() < 0.1:
                path.unlink()
    if chance.random() < 0.3:
        (roots["user"] / ".codeium/windsurf/memories").mkdir(parents=True, exist_ok=True)
    if chance.random() < 0.3:
        link = roots["project"] / chance.choice([".cursor", ".qwen", ".claude"]) / "skills"
        link.parent.mkdir(parents=True, exist_ok=True)
        if not link.exists():
            root = roots[chance.choice(["user", "project"])]
            link.symlink_to(root / chance.choice([".agents", ".gemini"]) / "skills")


def finds(survey: Survey) -> set[tuple[str, Scope, str, bool]]:
    """Where agents find skills (True), and where in a copy that needs no update (False)."""
    found = {place: survey.finds(*place) for place in product(AGENTS, survey.roots, NAMES)}
    return {(*place, k) for place in found for k in (True, False) if any(c.is_stale <= k for c in found[place])}


def redundant(survey: Survey) -> list[Path]:
    """The files that no agent needs and that can be removed without --force."""
    return [
        file
        for file, copies in by_file(copy for copy in survey.copies if copy.exists).items()
        if copies[0].is_found
        and not any(obstacle_to_removing(copy, force=False) for copy in copies)
        and not any(survey.losses(copies, [scope]) for scope in survey.roots)
    ]


@pytest.mark.parametrize("seed", range(30))
def test_hints_can_be_obeyed(home: Path, project: Path, monkeypatch: pytest.MonkeyPatch, seed: int) -> None:
    chance = random.Random(seed)
    roots: dict[Scope, Path] = {"user": home, "project": home if chance.random() < 0.1 else project}
    monkeypatch.chdir(roots["project"])
    disturb(chance, roots)
    named = agents(*chance.sample(AGENTS, chance.randrange(4)))
    before = finds(Survey.of(roots))
    said: dict[str, Any] = {}
    for asked, number in product((named, []), range(5)):
        said = answer("status", *asked)
        commands = [hint["command"] for hint in said["advice"]]
        assert number < 4 or commands == []
        chance.shuffle(commands)
        if commands and number < 2 and chance.random() < 0.5:  # later all: with some, it may take a round per hint
            commands = commands[: 1 + chance.randrange(len(commands))]
        for command in commands:
            dry = run(*command[2:], "--dry-run")
            assert dry.exit_code == 0, (command, dry.stderr)
            obeyed = run(*command[2:])
            assert obeyed.exit_code == 0, (command, obeyed.stderr)
            after = finds(Survey.of(roots))
            assert before <= after, (command, before - after)
            before = after
    stale = [copy for copy in Survey.of(roots).copies if copy.is_stale]
    assert redundant(Survey.of(roots).changed(State.MISSING, stale)) == []
    assert said["errors"] or not stale
