"""The module once more: an instance of its own, besides the one that everybody imports."""

import importlib.util
import sys
from types import ModuleType

NAME = "muvad_tarnel.setup.skill"


def fresh_module(file: str) -> ModuleType:
    """Load the extension that lies in `file`, or a Python module in its place, and leave sys.modules as it was."""
    spec = importlib.util.spec_from_file_location(NAME, file)
    assert spec is not None
    assert spec.loader is not None
    usual = sys.modules.get(NAME)
    module = sys.modules[NAME] = importlib.util.module_from_spec(spec)
    try:
        spec.loader.exec_module(module)
    finally:
        del sys.modules[NAME]
        if usual is not None:
            sys.modules[NAME] = usual
    return module
