"""The command line where it runs: on a terminal, into pipes that close, with odd encodings, in a hurry."""

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

from command_line import COMMAND, copy_in, put, run_on_terminal, run_process
from muvad_tarnel.commands import COMMANDS
from muvad_tarnel.setup.config import AGENT_CONFIG
from muvad_tarnel.setup.skill import SKILL_TEMPLATES, render_skill_md

ESCAPE = "\x1b["


class TestOnATerminal:
    @pytest.mark.parametrize("columns", [80, 120])
    @pytest.mark.parametrize(
        "command",
        ["install --all-agents", "status --all-agents", "plan --all-agents", "shadowed --all-agents", "agents"],
    )
    def test_tables_fit_and_names_stay_whole(self, home: Path, project: Path, command: str, columns: int) -> None:
        put(home, ".claude/skills", render_skill_md("0.0.1"))
        put(home, ".config/opencode/skills", "foreign")
        put(project, ".windsurf/skills")
        screen = run_on_terminal("skill", *command.split(), "--color", "never", columns=columns)
        assert screen.exit_code == 0
        unbroken = re.compile(r"note:| +(run|see|removed by|or updated by|avoided by|mended by): ")
        assert [line for line in screen.lines if len(line) > columns and not unbroken.match(line)] == []
        words = set(screen.text.replace(",", " ").split())
        known = {directory for key in AGENT_CONFIG for directory in AGENT_CONFIG[key].skills_user_roots}
        known |= {directory for key in AGENT_CONFIG for directory in AGENT_CONFIG[key].skills_project_roots}
        broken = {word for word in words if word.lstrip("~/").startswith(".") and word.strip("~/.)(:") != ""}
        assert {word.lstrip("~/(").rstrip(".)") for word in broken} <= known

    @pytest.mark.parametrize(
        ("options", "environment", "is_coloured"),
        [
            ("", {}, True),
            ("", {"NO_COLOR": "1"}, False),
            ("", {"NO_COLOR": ""}, True),
            ("", {"NO_COLOR": "1", "FORCE_COLOR": "1"}, False),
            ("", {"TERM": "dumb"}, False),
            ("--color never", {"FORCE_COLOR": "1"}, False),
            ("--color always", {"NO_COLOR": "1"}, True),
            ("--json", {"FORCE_COLOR": "1"}, False),
        ],
    )
    def test_colour_is_a_matter_of_options_and_environment(
        self, options: str, environment: dict[str, str], *, is_coloured: bool
    ) -> None:
        screen = run_on_terminal("skill", "status", *options.split(), columns=80, **environment)
        assert (ESCAPE in screen.text) is is_coloured

    def test_a_row_is_drawn_for_a_directory_and_reads_without_colour(self, home: Path) -> None:
        put(home, ".claude/skills")
        copy_in(home, ".claude/skills", "tarnel-wiki").unlink()
        screen = run_on_terminal("skill", "status", "--scope", "user", "--color", "never")
        first = next(number for number, line in enumerate(screen.lines) if "~/.claude/skills" in line)
        assert [line.split() for line in screen.lines[first : first + 3]] == [
            ["~/.claude/skills", "tarnel", "\N{CHECK MARK}", "current", "0.1.0", "Claude", "Code"],
            ["tarnel-map", "\N{CHECK MARK}", "current", "0.1.0"],
            ["tarnel-wiki", "\N{BALLOT X}", "missing"],
        ]

    def test_a_diff_is_coloured_line_by_line(self, home: Path) -> None:
        put(home, ".claude/skills", render_skill_md() + "mine\n", "tarnel")
        assert f"{ESCAPE}31m-mine{ESCAPE}0m" in run_on_terminal("skill", "diff").text

    @pytest.mark.parametrize("encoding", ["ascii", "latin-1"])
    def test_marks_are_ascii_where_the_encoding_knows_no_others(self, encoding: str) -> None:
        screen = run_on_terminal("skill", "install", PYTHONIOENCODING=encoding)
        assert screen.exit_code == 0
        assert screen.text.isascii()
        assert "+ installed" in screen.text


class TestInAPipe:
    def test_lines_are_whole_and_plain_unless_colour_is_wanted(self, home: Path) -> None:
        copy = put(home, ".claude/skills").parent.parent
        ran = run_process("skill", "status", "--all-agents", TERM="xterm", COLUMNS="20")
        line = f"{copy}  tarnel-map   current  0.1.0  Claude Code, Cursor, OpenCode, Goose, Amp"
        assert line in [
            re.sub("  +", "  ", line).replace("tarnel-map  ", "tarnel-map   ") for line in ran.stdout.splitlines()
        ]
        assert ESCAPE not in ran.stdout
        for wanting in ({"FORCE_COLOR": "1"}, {"FORCE_COLOR": "3", "TERM": "dumb"}):
            assert ESCAPE in run_process("skill", "status", **wanting).stdout
        assert ESCAPE not in run_process("skill", "status", FORCE_COLOR="0").stdout

    @pytest.mark.parametrize("arguments", [["install", "--all-agents"], ["status", "--json"], ["show", "tarnel"]])
    def test_a_reader_that_has_gone_changes_neither_the_work_nor_the_exit_code(
        self, home: Path, arguments: list[str]
    ) -> None:
        reading, writing = os.pipe()
        os.close(reading)
        ran = subprocess.run(
            [*COMMAND, "skill", *arguments], check=False, stdout=writing, stderr=subprocess.PIPE, timeout=60
        )
        os.close(writing)
        assert (ran.returncode, ran.stderr) == (0, b"")
        assert copy_in(home, ".agents/skills").exists() is (arguments[0] == "install")

    @pytest.mark.parametrize(
        ("redirection", "code", "said"),
        [(">&-", 0, ""), (">&- 2>&-", 0, ""), ("2>/dev/full", 0, ""), (">/dev/full", 1, "No space left on device")],
    )
    def test_streams_that_cannot_be_written_to_make_no_traceback(self, redirection: str, code: int, said: str) -> None:
        # One that has something to say on standard error, where that is what is full.
        environment = os.environ | ({"CLAUDE_CONFIG_DIR": "/moved"} if redirection.startswith("2") else {})
        line = f'"$0" -m muvad_tarnel skill install --agent claude {redirection}'
        ran = subprocess.run(
            ["/bin/sh", "-c", line, sys.executable],
            check=False,
            capture_output=True,
            text=True,
            timeout=60,
            env=environment,
        )
        assert ran.returncode == code
        assert said in ran.stderr
        assert ran.stderr.count("\n") == bool(said)

    @pytest.mark.parametrize("command", COMMANDS)
    def test_nothing_is_asked_and_nothing_heavy_is_loaded(self, command: str) -> None:
        script = (
            "import sys, click, muvad_tarnel.setup.skill; before = set(sys.modules)\n"
            "from muvad_tarnel.cli import command_line\n"
            "try: command_line(sys.argv[1:])\n"
            "except SystemExit: pass\n"
            "print(*sorted({name.partition('.')[0] for name in set(sys.modules) - before}), file=sys.stderr)"
        )
        arguments = ["skill", command, *(["tarnel"] if command == "show" else [])]
        for options in ([], ["--json"]):
            ran = subprocess.run(
                [sys.executable, "-c", script, *arguments, *options],
                check=True,
                stdin=subprocess.DEVNULL,
                capture_output=True,
                text=True,
                timeout=60,
            )
            loaded = set(ran.stderr.splitlines()[-1].split())
            allowed = {"muvad_tarnel", "gc", "locale", "_locale", "unicodedata", "stringprep"}
            assert loaded <= allowed | ({"json", "_json"} if options else set())


class TestCompletion:
    @pytest.mark.parametrize("shell", ["bash", "zsh", "fish"])
    def test_each_shell_gets_a_script(self, shell: str) -> None:
        assert "_MUVAD_TARNEL_COMPLETE" in run_process("completion", shell).stdout

    def test_agents_are_completed(self) -> None:
        words = {"COMP_WORDS": "muvad-tarnel skill install --agent c", "COMP_CWORD": "4"}
        ran = run_process(_MUVAD_TARNEL_COMPLETE="bash_complete", **words)
        found = {line.removeprefix("plain,") for line in ran.stdout.splitlines()}
        assert found == {key for key in AGENT_CONFIG if key.startswith("c")}


def test_every_skill_is_completed_and_shown_by_name() -> None:
    words = {"COMP_WORDS": "muvad-tarnel skill show ", "COMP_CWORD": "3"}
    ran = run_process(_MUVAD_TARNEL_COMPLETE="bash_complete", **words)
    assert {line.removeprefix("plain,") for line in ran.stdout.splitlines()} == set(SKILL_TEMPLATES)
