"""Write docs/cli.md, its pictures and the README's table of agents, from real runs of the command line.

    python tools/document_command_line.py            write them
    python tools/document_command_line.py --check    exit 1 and say which of them are stale

The runs are made in a home directory of their own, whose path is as long as the one shown, so that tables keep their
shape.
"""

import json
import os
import random
import re
import shlex
import shutil
import string
import subprocess
import sys
from io import StringIO
from pathlib import Path
from typing import Any

from rich._export_format import CONSOLE_SVG_FORMAT
from rich.console import Console
from rich.terminal_theme import MONOKAI
from rich.text import Text

from muvad_tarnel.commands import COMMANDS
from muvad_tarnel.setup.config import AGENT_CONFIG, CHECKED_ON
from terminal import run_on_terminal

ROOT = Path(__file__).resolve().parents[1]
SHOWN_HOME = "/home/ada"
PROJECT = "app"
FOUR = "--agent claude --agent cursor --agent copilot --agent windsurf"

INTRODUCTION = """\
# The command line

`muvad-tarnel skill` installs the skills and tells what is installed where, which agents read it, and what to do.
Everything on this page is real output; `make docs` makes it, and `make lint` finds it stale when it is.

{commands}

## What all commands share

**Exit codes.** 0: done, or all is current. 1: something failed; with `--check`, something is missing or outdated where
the plan puts it (`status`) or is shadowed (`shadowed`). 2: the command line is wrong. `--json` never changes them.

**Agents.** `--agent KEY` (repeatable), `--all-agents`, or `--detect`: the agents whose own directory under the home
directory, such as `~/.cursor`, holds more than skills. Without any of them it is Claude Code.

**Scopes.** `user` is the home directory, `project` the nearest folder upward that holds `.git`, else the current one,
or what `--project` names. When the project isn't the current directory, standard error says which it is.

**Output.** A table on a terminal; in a pipe or a file plain lines with whole paths; `--json` for programs. Notes and
errors go to standard error, an error being one line that names the path, what failed and what to do. Nothing is ever
asked. `--color`, `NO_COLOR`, `FORCE_COLOR` and `TERM=dumb` are honoured: `--color` comes first, then `NO_COLOR`.

**Several copies.** Two paths that lead to one file (linked directories, a project that is the home directory) count
once. Windows' line ends and a byte order mark make no difference to a text.

**Completion.** `eval "$(muvad-tarnel completion bash)"` in `~/.bashrc`, the same with `zsh` in `~/.zshrc`, or
`muvad-tarnel completion fish | source` in `~/.config/fish/config.fish`.

**In CI:** `muvad-tarnel skill status --check --scope project`, with the agents that the project cares for.
"""

# Prose, then the runs that show it: in order, in one home directory, on a terminal.
SECTIONS: list[tuple[str, str, list[str]]] = [
    (
        "install",
        "Walks the plan and tries every skill in every directory, whatever fails, then says what was done.",
        [
            f"skill install --scope project {FOUR}",
            f"skill install --scope project {FOUR}",
            "skill install",
            "skill install --agent cursor",
        ],
    ),
    (
        "status",
        "Every state of every copy, who reads it, and where each agent finds each skill.",
        [
            "EDIT app/.claude/skills/tarnel-map/SKILL.md",
            "OUTDATE .claude/skills/tarnel/SKILL.md",
            f"skill status {FOUR}",
            "skill status --check --scope project",
        ],
    ),
    (
        "plan",
        "The directories, the agents served by each, and why. Above 12 candidate directories it is a quick choice.",
        [f"skill plan --scope project {FOUR}", "skill plan --all-agents"],
    ),
    (
        "shadowed",
        "What an agent does with two copies of one name, as far as it is known, and the line that mends it.",
        ["skill shadowed --agent claude --agent copilot --agent cursor", "skill shadowed --agent zed --check"],
    ),
    ("diff", "What an install would overwrite that this package didn't write.", ["skill diff"]),
    (
        "remove",
        "Takes away only what this package wrote; the same options as an install undo it.",
        ["skill remove .cursor/skills", "skill remove --scope project --dry-run", "skill remove --scope project"],
    ),
    ("agents", "The table that everything goes by.", ["skill agents"]),
    ("show", "A document as an install writes it.", ["skill show tarnel-map"]),
]
# The runs that become pictures.
PICTURES = {
    "install": f"skill install --scope project {FOUR}",
    "plan": f"skill plan --scope project {FOUR}",
    "status": f"skill status --scope project {FOUR}",
}

COPY = {
    "scope": "`user` or `project`",
    "directory": "the skills directory, relative to the scope's root",
    "skill": "the skill's name",
    "path": "the absolute path of the `SKILL.md`",
}
STATE = {
    **COPY,
    "state": "`current`, `update available`, `newer`, `modified by hand`, `unstamped`, `unreadable` or `missing`",
    "version": "the copy's stamp, or null",
    "problem": "why it is unreadable, or null",
    "agents": "the keys of the agents asked about that read the directory",
}
TWICE = "objects: `agents`, `scope`, `directories`, `skills`, and the command lines `avoided_by` (or null), `mended_by`"
# Per command, the fields of a result and those beside the results.
FIELDS: dict[str, tuple[dict[str, str], dict[str, str]]] = {
    "install": (
        {
            **COPY,
            "agents": "the keys of the agents that it serves",
            "success": "whether the skill is in place (or would be)",
            "installed": "whether a file was written",
            "message": "what was done, or would be",
            "problem": "why it failed, or null",
            "remedy": "what to do about it, or null",
            "state_before": "what stood there, as `status` calls it",
            "version_before": "its stamp, or null",
            "replaces": "what the replaced text was, if not this package's own; else null",
        },
        {"seen_twice": TWICE},
    ),
    "status": (
        {**STATE, "planned": "whether an install for these agents writes it"},
        {"finds": "objects: `agent`, `scope`, `skill`, `paths` (every file once)", "seen_twice": TWICE},
    ),
    "plan": (
        {
            "directory": "the skills directory, relative to the scope's root",
            "path": "its absolute path",
            "serves": "objects: `agent`, `native`, `native_directory`, `reads_planned`, `why`",
        },
        {
            "scope": "`user` or `project`",
            "root": "the scope's root",
            "candidates": "how many directories there were to choose from",
            "quick_choice": "whether they were too many for every choice to be tried",
            "one_directory_per_agent": "what an install of one directory per agent would write",
            "avoided_duplicates": "the agents that would then see every skill twice",
            "seen_twice": TWICE,
        },
    ),
    "shadowed": (
        {
            "skill": "the skill's name",
            "agent": "the agent's key",
            "user_path": "the copy at user scope",
            "project_path": "the copy in the project",
            "same_file": "whether both are one file",
            "precedence": "`user`, `project`, `both` or `unknown`",
            "effect": "the same in words",
            "mended_by": "a command line, or null for one file",
        },
        {},
    ),
    "diff": ({**STATE, "difference": "what the text is, in words", "diff": "a unified difference"}, {}),
    "remove": (
        {
            **STATE,
            "success": "whether it is gone (or would be)",
            "removed": "whether it was removed",
            "kept": "why it was kept, or null",
            "forced": "what `--force` took away, or null",
        },
        {"dry_run": "whether nothing was to be removed"},
    ),
    "agents": (
        {
            "key": "what `--agent` takes",
            "name": "the name",
            "in_use": "whether `--detect` finds it",
            "user_directories": "its directories at user scope, its own first",
            "project_directories": "its directories in a project, its own first",
            "precedence": "`user`, `project`, `both` or `unknown`",
            "at_both_scopes": "the same in words",
        },
        {"as_of": "the day on which the facts were gathered"},
    ),
    "show": ({"skill": "the skill's name", "version": "the stamp", "text": "the document"}, {}),
}


class Stage:
    """A home directory with a project in it, and commands run there."""

    def __init__(self) -> None:
        """Make the directories, at a path as long as the one shown."""
        name = "".join(random.choices(string.ascii_lowercase, k=len(SHOWN_HOME) - len("/tmp/")))  # noqa: S108, S311
        self.home = Path("/tmp") / name  # noqa: S108 (where a path is short enough)
        self.home.mkdir(mode=0o700)
        (self.home / PROJECT / ".git").mkdir(parents=True)

    def close(self) -> None:
        """Take the directories away."""
        shutil.rmtree(self.home)

    def run(self, line: str, *, colour: bool = False) -> tuple[str, int]:
        """Run `muvad-tarnel` on a terminal of 80 columns: what is shown, and the exit code."""
        environment = {"HOME": str(self.home), "TERM": "xterm-256color", "LANG": "C.UTF-8", "PATH": os.defpath}
        if not colour:
            environment["NO_COLOR"] = "1"
        command = [sys.executable, "-m", "muvad_tarnel", *line.split()]
        screen = run_on_terminal(command, environment, 80, self.home / PROJECT)
        return self._shown("\n".join(screen.lines)), screen.exit_code

    def answer(self, line: str) -> dict[str, Any]:
        """What `muvad-tarnel` says with --json."""
        command = [sys.executable, "-m", "muvad_tarnel", *line.split(), "--json"]
        environment = {"HOME": str(self.home), "PATH": os.defpath}
        ran = subprocess.run(
            command, check=False, capture_output=True, text=True, env=environment, cwd=self.home / PROJECT
        )
        said: dict[str, Any] = json.loads(self._shown(ran.stdout))
        return said

    def change(self, line: str) -> None:
        """Do to a copy what time and people do: EDIT or OUTDATE it."""
        deed, name = line.split()
        path = self.home / name
        text = path.read_text()
        path.write_text(text + "My own words.\n" if deed == "EDIT" else re.sub("version: .*", "version: 0.0.9", text))

    def _shown(self, text: str) -> str:
        return text.replace(str(self.home), SHOWN_HOME)


def page() -> str:
    """docs/cli.md."""
    stage = Stage()
    try:
        titles = [f"| [`{name}`](#{name}) | {first_line(stage, name)} |" for name in COMMANDS]
        parts = [INTRODUCTION.format(commands="\n".join(["| Command | What it does |", "|---|---|", *titles]))]
        objects = []
        for name, prose, lines in SECTIONS:
            parts.append(f"## {name}\n\n{prose}\n")
            if name in PICTURES:
                parts.append(f"![{name}]({name}.svg)\n")
            for line in lines:
                if line.isupper() or line.split()[0].isupper():
                    stage.change(line)
                else:
                    parts.append(run_block(stage, line))
            help_text, _ = stage.run(f"skill {name} --help")
            parts.append(folded(f"muvad-tarnel skill {name} --help", fenced(help_text)))
            objects.append(object_section(stage, name))
        parts.append(
            "## The JSON objects\n\n"
            "Every command prints one object: `schema` (a number, 1: it changes when a reader of the former shape\n"
            "would be misled), `command`, `results` (a list, empty when there is nothing to tell), and what is named\n"
            "below beside them. Paths are absolute. New fields may come at any time.\n"
        )
        return "\n".join([*parts, *objects])
    finally:
        stage.close()


def first_line(stage: Stage, name: str) -> str:
    """A command's help in a line."""
    text, _ = stage.run(f"skill {name} --help")
    return text.splitlines()[2].strip()


def folded(title: str, text: str) -> str:
    """A part that opens when it is asked for."""
    return f"<details><summary>{title}</summary>\n\n{text}\n\n</details>\n"


def fenced(text: str, language: str = "text") -> str:
    """A block of code."""
    return f"```{language}\n{text.rstrip()}\n```"


def run_block(stage: Stage, line: str) -> str:
    """A command, what it showed, and its exit code unless that is 0."""
    text, code = stage.run(line)
    lines = text.splitlines()
    if line.startswith("skill show"):
        text = "\n".join([*lines[:12], "..."])
    return fenced(f"$ muvad-tarnel {line}\n{text}" + (f"\n[exit code {code}]" if code else "")) + "\n"


def object_section(stage: Stage, name: str) -> str:
    """The fields of a command's object, held against a real one, and that one's first result."""
    rest = {"show": " tarnel-map", "remove": " --dry-run"}.get(name, "")
    line = f"skill {name}{rest}"
    said = stage.answer(line)
    of_result, beside = FIELDS[name]
    first = said["results"][0] if said["results"] else None
    expected = ["schema", "command", "results", *beside]
    if list(said) != expected or (first is not None and set(first) != set(of_result)):
        sys.exit(f"{name}: the documented fields are not the real ones: {list(said)}, {first and list(first)}")
    if first is None:
        sys.exit(f"{name}: no result to show")
    example = {**said, "results": [shortened(first)], **{key: shortened(said[key]) for key in beside}}
    rows = [f"| `results[].{field}` | {meaning} |" for field, meaning in of_result.items()]
    rows += [f"| `{field}` | {meaning} |" for field, meaning in beside.items()]
    table = "\n".join(["| Field | Meaning |", "|---|---|", *rows])
    text = json.dumps(example, indent=2, ensure_ascii=False)
    shown = folded(f"muvad-tarnel {line} --json (a part)", fenced(text, "json"))
    return f"### {name} --json\n\n{table}\n\n{shown}"


def shortened(value: object) -> object:
    """A value with long texts and lists cut."""
    if isinstance(value, dict):
        return {key: shortened(inner) for key, inner in value.items()}
    if isinstance(value, list):
        return [shortened(inner) for inner in value[:3]]
    if isinstance(value, str) and len(value) > 160:
        return value[:80] + "..."
    return value


def pictures() -> dict[str, str]:
    """The pictures' texts by file name, drawn from what a terminal was sent."""
    # The frame loads a font over the network; a picture is better off with the reader's own.
    frame = re.sub(r"\s*@font-face \{\{.*?\}\}", "", CONSOLE_SVG_FORMAT, flags=re.DOTALL)
    frame = frame.replace("Fira Code", "monospace")
    stage = Stage()
    drawn = {}
    try:
        for name, line in PICTURES.items():
            text, _ = stage.run(line, colour=True)
            console = Console(record=True, width=82, file=StringIO(), force_terminal=True, legacy_windows=False)
            console.print(Text.from_ansi(f"$ muvad-tarnel {shlex.join(line.split())}\n{text}"))
            picture = console.export_svg(title="muvad-tarnel", theme=MONOKAI, unique_id=name, code_format=frame)
            drawn[f"{name}.svg"] = "".join(line.rstrip() + "\n" for line in picture.splitlines())
    finally:
        stage.close()
    return drawn


def agents_table() -> str:
    """The README's table of agents and directories."""
    rows = ["| `--agent` | Agent | In a project | For the user (under `~`) |", "|---|---|---|---|"]
    for key, record in AGENT_CONFIG.items():
        project, user = (
            ", ".join(f"`{directory}`" for directory in row)
            for row in (record.skills_project_roots, record.skills_user_roots)
        )
        rows.append(f"| `{key}` | {record.name} | {project} | {user} |")
    return "\n".join([*rows, "", f"An agent's own directory stands first. As of {CHECKED_ON}."])


def readme() -> str:
    """README.md with the table of agents renewed."""
    text = (ROOT / "README.md").read_text()
    return re.sub(r"(?<=<!-- agents -->\n).*?(?=<!-- end -->)", agents_table() + "\n", text, flags=re.DOTALL)


def main() -> None:
    """Write or check all that is made here."""
    made = {"README.md": readme(), "docs/cli.md": page()}
    made |= {f"docs/{name}": text for name, text in pictures().items()}
    stale = [name for name, text in made.items() if not (ROOT / name).exists() or (ROOT / name).read_text() != text]
    if "--check" in sys.argv[1:]:
        sys.exit(f"stale: {', '.join(stale)}: run 'make docs'" if stale else 0)
    for name in stale:
        (ROOT / name).write_text(made[name])
        print(f"wrote {name}")


if __name__ == "__main__":
    main()
