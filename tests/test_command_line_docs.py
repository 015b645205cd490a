"""The page of the command line, its pictures and the README's table are what the tool makes of the code today."""

import subprocess
import sys
from pathlib import Path

TOOL = Path(__file__).resolve().parents[1] / "tools/document_command_line.py"


def test_nothing_that_is_made_by_running_the_command_line_is_stale() -> None:
    ran = subprocess.run(
        [sys.executable, str(TOOL), "--check"], check=False, capture_output=True, text=True, timeout=120
    )
    assert ran.returncode == 0, ran.stderr
