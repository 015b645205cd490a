"""Every command's JSON object conforms to docs/cli.schema.json, also after errors."""

import json
from pathlib import Path
from typing import Any

import jsonschema
import pytest
from running import agents, answer, put, run

from muvad_tarnel.commands import COMMANDS
from muvad_tarnel.output.console import SCHEMA

SCHEMA_FILE = Path(__file__).resolve().parents[2] / "docs/cli.schema.json"


def checked(said: Any) -> Any:
    """Validate the object against the schema, and return it."""
    jsonschema.validate(said, json.loads(SCHEMA_FILE.read_text()))
    return said


@pytest.mark.parametrize("disk", ["empty", "full", "no home", "broken"])
@pytest.mark.parametrize("command", [*COMMANDS, "show tarnel", "install --dry-run", "remove --dry-run", "update -n"])
def test_every_command(home: Path, project: Path, monkeypatch: pytest.MonkeyPatch, *, command: str, disk: str) -> None:
    if disk == "full":
        put(home, ".claude/skills", "modified", "tarnel")
        put(home, ".cursor/skills", "current")
        put(home, ".agents/skills", "unreadable", "tarnel-map")
        put(project, ".claude/skills", "outdated")
    elif disk == "broken":
        (home / ".claude").write_text("")
    elif disk == "no home":
        monkeypatch.setenv("HOME", "")
    named = agents("claude", "cursor") if command in ("install", "plan", "status", "shadowed", "diff") else []
    arguments = [*command.split(), *named]
    expected = run(*arguments, "--quiet")
    said = checked(answer(*arguments, "--verbose", exit_code=expected.exit_code))
    assert (said["command"], said["schema"]) == (command.split(maxsplit=1)[0], SCHEMA)
    assert expected.stdout == "" or command.startswith(("show", "diff"))
    assert len(expected.stderr.splitlines()) >= len(said["errors"])


@pytest.mark.parametrize("mistake", ["instal", "install --agent cursr", "status --nothing", "remove nowhere"])
def test_usage_errors(mistake: str) -> None:
    result = run(*mistake.split(), "--json")
    assert (result.exit_code, result.stderr.startswith("Usage: ")) == (2, True)
    (error,) = checked(json.loads(result.stdout))["errors"]
    assert error["problem"].split(".")[0].split("\n")[0] in result.stderr.replace("\n", " ")
