"""Memory, and interpreters beside each other: asked of child processes, since what is looked for may crash."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

from muvad_tarnel.setup import skill

CHILD = Path(__file__).with_name("isolation_child.py")


@pytest.mark.parametrize("question", ["interpreters", "leaks", "daemons"])
def test_a_process_has_nothing_to_complain_of(question: str) -> None:
    if question == "interpreters":
        pytest.importorskip("_xxsubinterpreters")
    # Not in development mode: its memory allocator doesn't survive that several interpreters are made at once.
    child = subprocess.run(
        [sys.executable, "-X", "faulthandler", "-W", "error", str(CHILD), question, skill.__file__],
        env=os.environ | {"PYTHONPATH": os.pathsep.join(filter(None, sys.path)), "PYTHONDEVMODE": ""},
        capture_output=True,
        check=False,
        text=True,
        timeout=30,
    )
    assert (child.stdout, child.stderr, child.returncode) == ("done\n", "", 0)
