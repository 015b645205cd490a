"""Imports and includes point downwards only."""

import ast
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
LAYERS = ["cli", "commands", "hints", "planning", "installed", "roots", "output", "failure", "setup"]
SHARED = {"changes", "options", "request", "running", "spelling", "wording", "__init__"}
OUTPUT = {"report": 0, "text": 0, "terminal": 1, "console": 2}


def test_imports_point_downwards() -> None:
    source = ROOT / "src/muvad_tarnel"
    for path in source.rglob("*.py"):
        own, *inner = path.relative_to(source).with_suffix("").parts
        nodes = ast.walk(ast.parse(path.read_text())) if own in LAYERS else []
        for node in nodes:
            module = (node.module or "") if isinstance(node, ast.ImportFrom) else ""
            package, _, rest = module.partition(".")
            if package != "muvad_tarnel" or not rest:
                assert own not in ("installed", "hints", "planning") or package not in ("click", "rich"), path
                continue
            layer, *names = rest.split(".")
            assert LAYERS.index(layer) >= LAYERS.index(own), path
            assert layer != "commands" or not names or names[0] in SHARED, path
            assert own != "output" or layer in ("output", "failure"), path
            assert own != layer or own != "output" or OUTPUT[names[0]] < OUTPUT[inner[0]], path


def test_native_layers_include_only_what_lies_below_them() -> None:
    below = {"core": "core", "disk": "disk", "runtime": "runtime", "python": "python runtime disk core"}
    below["skill"] = "skill python disk core"
    sources = [path for path in ROOT.glob("native/*/*") if path.suffix in {".cpp", ".hpp"}]
    assert {path.parent.name for path in sources} == set(below)
    for source in sources:
        layer = source.parent.name
        for opening, name in re.findall(r'^\s*#\s*include\s*([<"])([^">]+)', source.read_text(), re.MULTILINE):
            if opening == '"' and name != "embedded_documents.inc":  # which the build makes
                assert name.split("/")[0] in below[layer].split(), f"{layer}/{source.name} includes {name}"
            elif opening == "<" and layer == "core":
                assert re.fullmatch(r"\w+", name), f"{layer}/{source.name} needs more than the C++ standard library"
