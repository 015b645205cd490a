"""Imports point downwards only."""

import ast
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[1] / "src/muvad_tarnel"
LAYERS = ["cli", "commands", "hints", "planning", "installed", "roots", "output", "failure", "setup"]
COMMANDS = {path.stem for path in (SOURCE / "commands").glob("*.py")}
SHARED = {"changes", "options", "request", "running", "spelling", "wording", "__init__"}


@pytest.mark.parametrize("path", sorted(SOURCE.rglob("*.py")), ids=lambda path: path.relative_to(SOURCE).as_posix())
def test_imports_point_downwards(path: Path) -> None:
    own = path.relative_to(SOURCE).with_suffix("").parts
    if own[0] not in LAYERS:
        return
    for node in ast.walk(ast.parse(path.read_text())):
        module = (node.module or "") if isinstance(node, ast.ImportFrom) else ""
        parts = module.removeprefix("muvad_tarnel.").split(".")
        if not module.startswith("muvad_tarnel."):
            assert own[0] not in ("installed", "hints", "planning") or not module.startswith(("click", "rich"))
            continue
        assert LAYERS.index(parts[0]) >= LAYERS.index(own[0])
        assert own[0] != "output" or parts[0] in ("output", "failure")
        assert parts[0] != "commands" or len(parts) == 1 or parts[1] in SHARED
    names = {"console": 2, "plain": 1, "terminal": 1, "report": 0, "text": 0}
    if own[0] == "output" and own[1] in names:
        imported = [node.module for node in ast.walk(ast.parse(path.read_text())) if isinstance(node, ast.ImportFrom)]
        below = [m.rpartition(".")[2] for m in imported if m and m.startswith("muvad_tarnel.output.")]
        assert all(names[name] < names[own[1]] for name in below)
