"""Output on a terminal: tables, colours and marks. At any width, no text is lost and no command line is wrapped."""

import re
from collections import Counter
from pathlib import Path

import pytest
from running import put, run_on_terminal

ESCAPE = "\x1b["


@pytest.mark.parametrize("columns", [60, 80, 100, 120])
@pytest.mark.parametrize("command", ["install -n", "status", "plan", "shadowed --agent warp", "agents"])
def test_tables_fit_and_lose_nothing(home: Path, project: Path, command: str, columns: int) -> None:
    put(home, ".claude/skills", "outdated")
    put(home, ".config/opencode/skills", "foreign")
    put(project, ".windsurf/skills")
    put(project, ".cursor/skills", "modified")
    all_agents = () if "agent" in command else ("--all-agents",)
    arguments = ("skill", *command.split(), *all_agents, "--color", "never")
    screen, wide = (run_on_terminal(*arguments, columns=width) for width in (columns, 1000))
    unbroken = re.compile(r"note: |Error: |\w+ scope: | +(to \w+.*:|removed) ")
    whole = [line for line in screen.lines if not unbroken.match(line)]
    assert [line for line in whole if len(line) > columns] == []
    assert "shadowed" not in command or ("Effect: " in screen.text) is (columns <= 60)
    assert ("Read by: " in screen.text) + ("\u2500" in screen.text) < 2, "one layout for all tables"
    assert re.findall("to fix: .*", wide.text) == re.findall("to fix: .*", screen.text)
    shown, lost = (Counter(re.findall(r"[^\s\u2500:]+", text)) for text in (screen.text, wide.text))
    assert not {word for word in lost - shown if not word.startswith("/")}


@pytest.mark.parametrize(
    ("options", "environment", "is_coloured"),
    [
        ("", {}, True),
        ("", {"NO_COLOR": "1", "FORCE_COLOR": "1"}, False),
        ("", {"TERM": "dumb"}, False),
        ("--color always", {"NO_COLOR": "1"}, True),
    ],
)
def test_colour(home: Path, *, options: str, environment: dict[str, str], is_coloured: bool) -> None:
    put(home, ".claude/skills", "modified")
    screen = run_on_terminal("skill", "diff", *options.split(), columns=80, **environment)
    assert (f"{ESCAPE}31m-My own words." in screen.text, ESCAPE in screen.text) == (is_coloured, is_coloured)
