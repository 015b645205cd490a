"""Regenerate the blocks in README.md and docs/cli.md, and the pictures, from real runs of the command line.

    python tools/document_command_line.py            write them
    python tools/document_command_line.py --check    exit 1 and name the stale files

A block is enclosed in `<!-- STEP -->` and `<!-- end -->`. The steps of a file run in order, in a home directory that
contains an empty repository. A step is `agents` (the table), `commands` (the list), a command line after `$`, which
runs on a terminal, or `edit PATH` and `outdate PATH`, which change a copy and print nothing.
"""

import os
import random
import re
import shutil
import string
import sys
from io import StringIO
from pathlib import Path
from typing import Self

from rich._export_format import CONSOLE_SVG_FORMAT
from rich.console import Console
from rich.terminal_theme import MONOKAI
from rich.text import Text

from muvad_tarnel.commands import COMMANDS
from muvad_tarnel.setup.config import CHECKED_ON, resolved
from terminal import run_on_terminal

ROOT = Path(__file__).resolve().parents[1]
SHOWN_HOME = "/home/ada"
PROJECT = "app"
BLOCK = re.compile(r"<!-- (?P<step>agents|commands|(?:\$|edit|outdate) [^\n]*) -->\n.*?<!-- end -->", re.DOTALL)
FOUR = "--agent claude --agent cursor --agent copilot --agent windsurf"
PICTURES = {
    "plan": f"skill plan --scope project {FOUR}",
    "install": f"skill install --scope project {FOUR}",
    "status": f"skill status --scope project {FOUR}",
}


class Stage:
    """A home directory that contains a repository, for running commands."""

    def __init__(self) -> None:
        """Create the directories, at a path as long as the one shown, so that tables keep their layout."""
        name = "".join(random.choices(string.ascii_lowercase, k=len(SHOWN_HOME) - len("/tmp/")))  # noqa: S108, S311
        self.home = Path("/tmp") / name  # noqa: S108 (paths elsewhere are too long)
        self.home.mkdir(mode=0o700)
        (self.home / PROJECT / ".git").mkdir(parents=True)

    def __enter__(self) -> Self:
        """Return the stage itself."""
        return self

    def __exit__(self, *_: object) -> None:
        """Remove the directories."""
        shutil.rmtree(self.home)

    def run(self, line: str, *, colour: bool = False) -> str:
        """The output of `muvad-tarnel` on a terminal of 80 columns, and its exit code unless that is 0."""
        environment = {"HOME": str(self.home), "TERM": "xterm-256color", "LANG": "C.UTF-8", "PATH": os.defpath}
        if not colour:
            environment["NO_COLOR"] = "1"
        command = [sys.executable, "-m", "muvad_tarnel", *line.split()]
        screen = run_on_terminal(command, environment, 80, self.home / PROJECT)
        code = f"\n[exit code {screen.exit_code}]" if screen.exit_code else ""
        return "\n".join(screen.lines).replace(str(self.home), SHOWN_HOME) + code

    def block(self, match: re.Match[str]) -> str:
        """A block with the current output of its step."""
        step = match["step"]
        word, _, rest = step.partition(" ")
        if word == "agents":
            text = agents_table()
        elif word == "commands":
            text = "\n".join(["| Command | What it does |", "|---|---|", *map(self.command_row, COMMANDS)]) + "\n"
        elif word == "$":
            text = f"```text\n{step}\n{self.run(rest.removeprefix('muvad-tarnel '))}\n```\n"
        else:
            copy = self.home / rest
            old = copy.read_text()
            copy.write_text(old + "My own words.\n" if word == "edit" else re.sub("version: .*", "version: 0.0.9", old))
            text = ""
        return f"<!-- {step} -->\n{text}<!-- end -->"

    def command_row(self, name: str) -> str:
        """A command with the first line of its help."""
        return f"| [`{name}`](#{name}) | {self.run(f'skill {name} --help').splitlines()[2].strip()} |"


def agents_table() -> str:
    """The agents and their default directories, without environment variables."""
    rows = ["| `--agent` | Agent | In a project | For the user (under `~`) |", "|---|---|---|---|"]
    for key, record in resolved({}).items():
        project, user = (
            ", ".join(f"`{directory}`" for directory in row)
            for row in (record.skills_project_roots, record.skills_user_roots)
        )
        rows.append(f"| `{key}` | {record.name} | {project} | {user} |")
    return "\n".join([*rows, "", f"An agent's preferred directory comes first. As of {CHECKED_ON}.", ""])


def renewed(name: str) -> str:
    """A page with its blocks regenerated."""
    with Stage() as stage:
        return BLOCK.sub(stage.block, (ROOT / name).read_text())


def pictures() -> dict[str, str]:
    """The SVG texts of the pictures by file name, drawn from terminal output."""
    # The frame loads a font over the network; use the reader's own instead.
    frame = re.sub(r"\s*@font-face \{\{.*?\}\}", "", CONSOLE_SVG_FORMAT, flags=re.DOTALL)
    frame = frame.replace("Fira Code", "monospace")
    drawn = {}
    with Stage() as stage:
        for name, line in PICTURES.items():
            console = Console(record=True, width=82, file=StringIO(), force_terminal=True, legacy_windows=False)
            console.print(Text.from_ansi(f"$ muvad-tarnel {line}\n{stage.run(line, colour=True)}"))
            picture = console.export_svg(title="muvad-tarnel", theme=MONOKAI, unique_id=name, code_format=frame)
            drawn[f"docs/{name}.svg"] = "".join(line.rstrip() + "\n" for line in picture.splitlines())
    return drawn


def main() -> None:
    """Write or check all generated files."""
    made = {name: renewed(name) for name in ("README.md", "docs/cli.md")} | pictures()
    stale = [name for name, text in made.items() if not (ROOT / name).exists() or (ROOT / name).read_text() != text]
    if "--check" in sys.argv[1:]:
        sys.exit(f"stale: {', '.join(stale)}: run 'make docs'" if stale else 0)
    for name in stale:
        (ROOT / name).write_text(made[name])
        print(f"wrote {name}")


if __name__ == "__main__":
    main()
