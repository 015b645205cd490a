"""Output to pipes, files and closed streams, and the modules that commands load."""

import re
import sys
from pathlib import Path

import pytest
from running import put, run_in_shell, run_process

from muvad_tarnel import __version__
from muvad_tarnel.commands import COMMANDS


def test_lines_in_a_pipe_are_whole_and_plain(home: Path) -> None:
    copy = put(home, ".kiro/skills").parent.parent
    ran = run_process("skill", "status", TERM="xterm", COLUMNS="20")
    shown = f"{copy} all current {__version__} Kiro\n\nWhere agents find the skills\nAgent For the user In the "
    assert shown in re.sub(" +", " ", ran.stdout)
    assert "\x1b" not in ran.stdout + run_process("skill", "status", FORCE_COLOR="0").stdout


@pytest.mark.parametrize(
    ("line", "code", "said"),
    [
        ("$TARNEL skill install --all-agents | true; exit ${PIPESTATUS[0]}", 0, ""),
        ("$TARNEL skill install >&- 2>&-", 0, ""),
        ("HOME= $TARNEL skill install 2>/dev/full", 1, ""),
        ("$TARNEL skill install >/dev/full", 1, "No space left on device"),
        ("$TARNEL --version >&-", 0, ""),
        ("$TARNEL skill nothing 2>/dev/full", 2, ""),
    ],
)
def test_streams_that_fail_make_no_traceback(line: str, code: int, said: str) -> None:
    ran = run_in_shell(line)
    assert ran.returncode == code
    assert said in ran.stderr
    assert ran.stderr.count("\n") == bool(said)


def test_what_cannot_be_shown_is_replaced(home: Path) -> None:
    odd = str(home / "\udcff\N{EURO SIGN}\n\x1bend")
    ran = run_process("skill", "install", HOME=odd, PYTHONIOENCODING="latin-1")
    assert ran.returncode == 0, ran.stderr
    assert f"{home}/????end/.claude" in ran.stdout


@pytest.mark.parametrize("options", ["", "--json"])
@pytest.mark.parametrize("command", COMMANDS)
def test_nothing_heavy_is_loaded(command: str, options: str) -> None:
    script = (
        "import atexit, sys, click, muvad_tarnel.setup.skill; before = {*sys.modules}\n"
        "atexit.register(lambda: print(*{n.partition('.')[0] for n in {*sys.modules} - before}, file=sys.stderr))\n"
        "from muvad_tarnel.cli import command_line; command_line()"
    )
    ran = run_in_shell(f'{sys.executable} -c "{script}" skill {command} {options}')
    allowed = {"muvad_tarnel", "gc", "locale", "_locale", "unicodedata", "stringprep", "fcntl", "shlex"}
    assert {*ran.stderr.splitlines()[-1].split()} <= allowed | ({"json", "_json"} if options else set())
