"""Load further instances of the module, separate from the imported one."""

import importlib.util
import sys
from types import ModuleType

NAME = "muvad_tarnel.setup.skill"


def fresh_module(file: str) -> ModuleType:
    """Load the extension in `file`, or a Python module under the same name, and restore sys.modules."""
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
