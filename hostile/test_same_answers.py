"""Random scenarios, each on the fast path and on the slow path."""

import os
from pathlib import Path
from random import Random
from typing import Any

import pytest

from children import answers
from conftest import Judge
from muvad_tarnel.setup import skill
from recording import account
from scenarios import CURRENT, OUTDATED, prepare
from test_fast_paths import AGENTS, PLACES, clear, outcome, slow_path, walk

# Characters that matter to the stamp pattern and to version keys.
PIECES = ["version:", "\nversion:", "\n", "\r", "\r\n", " ", "\t\v\f", "\u00a0", "\x1c", "\x85", "\u2028", "\ufeff"]
PIECES += ["1", "1.2", "9" * 18, "1" * 19, "\u0663", "\u00b2", "é", "\u0301", "_", "-", ".", "x", "\0", "\U0001d7d9"]
ENDINGS = [b"", b"", b"\xff", b"\xc3", b"\xed\xa0\x80"]
COMPONENTS = ["/", "/", "//", ".", "..", "a", "é", "\udc80", "~", " "]
ODD_COMPONENTS = ["\ud800", "a\0", "n" * 300]
# No link leads out of the scenario's directory. ".." below ".." would, and its files would affect the next scenario.
OBSTACLES = [b"in the way", None, "nowhere", "nowhere/deeper", "SKILL.md", "s", "../project", "/proc/version"]
IN_A_CHUNK = 250


def text(random: Random, pieces: list[str], most: int) -> str:
    return "".join(random.choices(pieces, k=random.randint(0, most)))


def document(random: Random) -> bytes:
    """A document whose stamp may lie beyond the searched head."""
    filler = "é" * random.randint(1980, 2001) + random.choice(["\n", "\r\n", "\r"])
    before = random.choice(["", "", filler])
    return f"{before}version:{text(random, PIECES, 9)}".encode() + random.choice(ENDINGS)


def component(random: Random) -> str:
    return random.choice(ODD_COMPONENTS) if random.random() < 0.1 else text(random, COMPONENTS, 5)


def step(random: Random) -> tuple[str, Any]:
    """An obstacle or a document to place somewhere, or a call."""
    if random.random() < 0.6:
        texts = [document(random), *OUTDATED.values(), *CURRENT.values()]
        return random.choice(PLACES), random.choice(texts if random.random() < 0.5 else OBSTACLES)
    options: dict[str, Any] = {"agents": random.choice(["a", "ab", "b", ("too long",)])}
    function = random.choice(["install_skills", "install_skills", "skill_status", "shadowed_skills"])
    if function == "install_skills":
        options |= {"scope": random.choice(["user", "project"]), "dry_run": random.random() < 0.2}
        options |= {"force": random.random() < 0.5}
    return function, options


def met(seed: int, home: str) -> Any:
    """The outcome of a scenario: a walk over obstacles, or a function of documents, versions or paths."""
    random = Random(seed)
    kind = random.choice(["walk", "document", "version", "path"])
    if kind == "walk":
        return walk([step(random) for _ in range(random.randint(1, 8))])
    if kind == "document":
        Path("SKILL.md").write_bytes(document(random))
        found = [outcome(skill._installed_version, Path("SKILL.md"))]
        Path("SKILL.md").unlink()
        return found
    if kind == "version":
        return outcome(skill._version_tuple, text(random, PIECES, 9))
    root: Any = random.choice([None, component(random), Path(*[text(random, COMPONENTS, 5) for _ in range(3)])])
    scope, names = (
        random.choice(["user", "project"]),
        {"skill_name": component(random), "skills_dir": component(random)},
    )
    os.environ["HOME"] = text(random, COMPONENTS, 5)
    found = [outcome(skill.skill_target_path, scope, root, **names)]
    found.append(outcome(skill.install_skill, scope, root, dry_run=True, **names))
    os.environ["HOME"] = home
    return found


def test_row_6_random_scenarios(root: Path, judge: Judge, effort: float, monkeypatch: pytest.MonkeyPatch) -> None:
    def different(first: int) -> list[int]:
        prepare(own_root := root / str(first), {})
        seeds = []
        for seed in range(first, first + IN_A_CHUNK):
            fast = account(met(seed, os.environ["HOME"]))
            with slow_path():
                slow = account(met(seed, os.environ["HOME"]))
            seeds += [seed] * (fast != slow)
        clear(own_root)
        return seeds

    monkeypatch.setattr(skill, "AGENT_CONFIG", AGENTS)
    chunks = range(0, round(20_000 * effort), IN_A_CHUNK)
    judge(6, "", answers(different, chunks, limit=120), scenarios=len(chunks) * IN_A_CHUNK)
