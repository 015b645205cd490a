"""The agent table: where each AI coding agent discovers skills, and what else is known of it.

Rules for every row, at each scope:

- The agent's native directory (its own) comes first, the directories it reads besides follow. Planning prefers
  directories by this order.
- Directories are relative, to the project's root or to the home directory, with forward slashes, without a leading
  `~` and without a trailing slash. They are compared as text, so one directory is spelled the same in every row.
- Only directories that the agent reads unconditionally are listed, and none that it calls deprecated. The installer
  cannot see an agent's settings: a copy too many is visible, a skill installed where nobody looks is not. The one
  exception is Cursor's `.claude/skills`, which depends on a switch that is on by default.
- A user directory that an environment variable moves starts with that variable (`MOVES` has their defaults).

Some variables add directories or replace several at once. The table does not follow them: `OPENCODE_CONFIG_DIR` and
`KILO_CONFIG_DIR` add one, `CRUSH_SKILLS_DIR` replaces all of Crush's, `GEMINI_CLI_HOME` replaces the home directory for
Gemini CLI, `CLINE_DIR` moves `.cline` for Cline's command line but not for its extension, and `COPILOT_HOME` also makes
Copilot's command line ignore `~/.agents/skills`.
"""

import os
from collections.abc import Mapping
from dataclasses import dataclass, replace
from pathlib import Path
from typing import Final, Literal

type Scope = Literal["user", "project"]

# What an agent does with a skill that it finds for the user as well as in the project: the copy named hides the
# other, both are listed, or nobody has documented it.
type Precedence = Literal["user", "project", "both", "unknown"]

# The environment variables that move a directory, and where under the home directory it is without them.
MOVES: Final = {
    "CLAUDE_CONFIG_DIR": ".claude",
    "CODEX_HOME": ".codex",
    "COPILOT_HOME": ".copilot",
    "KIMI_CODE_HOME": ".kimi-code",
    "PI_CODING_AGENT_DIR": ".pi/agent",
    "QWEN_HOME": ".qwen",
    "VIBE_HOME": ".vibe",
    "XDG_CONFIG_HOME": ".config",
    "XUM_ROOT": ".xum",
}


@dataclass(frozen=True, slots=True)
class AgentRecord:
    """One agent: the name shown to people, and the skills directories it reads at each scope, native one first.

    `marker` is a directory that the agent itself makes, relative to the home directory or absolute: if it holds more
    than skills, the agent is in use. It is empty for an agent without one. `.agents` marks nobody: all agents share it.
    """

    name: str
    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]
    marker: str
    precedence: Precedence = "unknown"

    def directories(self, scope: Scope) -> tuple[str, ...]:
        """The skills directories that the agent reads at a scope, native one first."""
        return self.skills_user_roots if scope == "user" else self.skills_project_roots


# Facts gathered on this day from the agents' documentation, source and issue trackers. They age: check a row against
# its agent before relying on it, and renew this date with the check of all of them.
CHECKED_ON: Final = "2026-11-23"

_AGENTS = ".agents/skills"
_CLAUDE = ".claude/skills"
# Warp reads the directories of ten agents, at both scopes alike.
_WARP = tuple(
    f".{name}/skills"
    for name in "agents warp claude codex cursor gemini copilot factory github opencode".split()  # noqa: SIM905
)

# The rows as they are checked, before the environment moves anything.
AGENTS: Final = {
    "claude": AgentRecord("Claude Code", (_CLAUDE,), ("$CLAUDE_CONFIG_DIR/skills",), "$CLAUDE_CONFIG_DIR", "user"),
    # That both copies are listed was seen; it is not documented.
    "cursor": AgentRecord(
        "Cursor", (".cursor/skills", _CLAUDE, _AGENTS), (".cursor/skills", _CLAUDE, _AGENTS), ".cursor", "both"
    ),
    # Copilot itself searches `.agents/skills` before `.claude/skills`; here the order of the two only breaks ties.
    # Of its user directories `~/.claude/skills` is left out: VS Code reads it, the command line no longer does.
    "copilot": AgentRecord(
        "GitHub Copilot",
        (".github/skills", _CLAUDE, _AGENTS),
        ("$COPILOT_HOME/skills", _AGENTS),
        "$COPILOT_HOME",
        "project",
    ),
    # Windsurf reads `.claude/skills` only behind a setting that is off by default, and `~/.windsurf/skills` never.
    "windsurf": AgentRecord(
        "Windsurf", (".windsurf/skills", _AGENTS), (".codeium/windsurf/skills", _AGENTS), ".codeium/windsurf"
    ),
    "codex": AgentRecord("Codex", (_AGENTS,), (_AGENTS,), "$CODEX_HOME", "both"),
    "gemini": AgentRecord("Gemini CLI", (".gemini/skills", _AGENTS), (".gemini/skills", _AGENTS), ".gemini", "project"),
    "opencode": AgentRecord(
        "OpenCode",
        (".opencode/skills", _CLAUDE, _AGENTS),
        ("$XDG_CONFIG_HOME/opencode/skills", ".opencode/skills", _CLAUDE, _AGENTS),
        "$XDG_CONFIG_HOME/opencode",
    ),
    # `.config/agents` is literal here: XDG_CONFIG_HOME moves Goose's own directory only.
    "goose": AgentRecord(
        "Goose",
        (_AGENTS, ".goose/skills", _CLAUDE),
        (_AGENTS, "$XDG_CONFIG_HOME/goose/skills", _CLAUDE, ".config/agents/skills"),
        "$XDG_CONFIG_HOME/goose",
        "project",
    ),
    "zed": AgentRecord("Zed", (_AGENTS,), (_AGENTS,), "$XDG_CONFIG_HOME/zed", "project"),
    "amp": AgentRecord(
        "Amp",
        (_AGENTS, _CLAUDE),
        ("$XDG_CONFIG_HOME/agents/skills", _AGENTS, "$XDG_CONFIG_HOME/amp/skills", _CLAUDE),
        "$XDG_CONFIG_HOME/amp",
        "user",
    ),
    # Its extension reads the project's `.claude/skills` as well, its command line does not.
    "cline": AgentRecord("Cline", (".cline/skills", _AGENTS), (".cline/skills", _AGENTS), ".cline", "user"),
    "kilo": AgentRecord(
        "Kilo Code",
        (".kilo/skills", _AGENTS),
        (".kilo/skills", "$XDG_CONFIG_HOME/kilo/skills", _AGENTS),
        "$XDG_CONFIG_HOME/kilo",
        "project",
    ),
    "qwen": AgentRecord(
        "Qwen Code", (".qwen/skills", _AGENTS), ("$QWEN_HOME/skills", _AGENTS), "$QWEN_HOME", "project"
    ),
    "kimi": AgentRecord(
        "Kimi Code CLI",
        (".kimi-code/skills", _AGENTS),
        ("$KIMI_CODE_HOME/skills", _AGENTS),
        "$KIMI_CODE_HOME",
        "project",
    ),
    # Its project directory `.agent/skills` is a singular.
    "droid": AgentRecord("Factory Droid", (".factory/skills", ".agent/skills"), (".factory/skills",), ".factory"),
    "kiro": AgentRecord("Kiro", (".kiro/skills",), (".kiro/skills",), ".kiro", "project"),
    "warp": AgentRecord("Warp", _WARP, _WARP, ".warp", "both"),
    "augment": AgentRecord("Augment", (".augment/skills", _CLAUDE), (".augment/skills", _CLAUDE), ".augment"),
    "crush": AgentRecord(
        "Crush",
        (".crush/skills", _AGENTS, _CLAUDE, ".cursor/skills"),
        ("$XDG_CONFIG_HOME/crush/skills", "$XDG_CONFIG_HOME/agents/skills", _AGENTS, _CLAUDE),
        "$XDG_CONFIG_HOME/crush",
    ),
    "openhands": AgentRecord(
        "OpenHands", (_AGENTS, ".openhands/skills"), (_AGENTS, ".openhands/skills"), ".openhands", "project"
    ),
    "pi": AgentRecord(
        "Pi", (".pi/skills", _AGENTS), ("$PI_CODING_AGENT_DIR/skills", _AGENTS), "$PI_CODING_AGENT_DIR", "project"
    ),
    "vibe": AgentRecord(
        "Mistral Vibe", (".vibe/skills", _AGENTS), ("$VIBE_HOME/skills", _AGENTS), "$VIBE_HOME", "project"
    ),
    "letta": AgentRecord("Letta Code", (_AGENTS,), (".letta/skills",), ".letta", "project"),
    "rovodev": AgentRecord(
        "Rovo Dev CLI", (".rovodev/skills", _AGENTS), (".rovodev/skills", _AGENTS), ".rovodev", "user"
    ),
    # The user directory is that of its default agent, which is called `agent`.
    "deepagents": AgentRecord(
        "Deep Agents Code",
        (".deepagents/skills", _AGENTS),
        (".deepagents/agent/skills", _AGENTS),
        ".deepagents",
        "project",
    ),
    "xum": AgentRecord("Xum", (".xum/skills", _AGENTS), ("$XUM_ROOT/skills", _AGENTS), "$XUM_ROOT", "project"),
    "pochi": AgentRecord("Pochi", (".pochi/skills", _AGENTS), (".pochi/skills", _AGENTS), ".pochi", "project"),
    "neovate": AgentRecord("Neovate Code", (".neovate/skills",), (".neovate/skills",), ".neovate", "project"),
    "firebender": AgentRecord("Firebender", (".firebender/skills",), (".firebender/skills",), ".firebender", "project"),
    "qoder": AgentRecord("Qoder", (".qoder/skills",), (".qoder/skills",), ".qoder", "project"),
    "codebuddy": AgentRecord("CodeBuddy", (".codebuddy/skills",), (".codebuddy/skills",), ".codebuddy"),
    "codebuff": AgentRecord("Codebuff", (_AGENTS, _CLAUDE), (_AGENTS, _CLAUDE), "", "project"),
    "devin": AgentRecord(
        "Devin",
        (".devin/skills", _AGENTS, ".windsurf/skills"),
        (".config/devin/skills", _AGENTS, ".codeium/windsurf/skills"),
        ".config/devin",
    ),
    "deepcode": AgentRecord(
        "Deep Code", (".deepcode/skills", _AGENTS), (".deepcode/skills", _AGENTS), ".deepcode", "project"
    ),
}


def resolved(environment: Mapping[str, str]) -> dict[str, AgentRecord]:
    """The table with each user directory where the environment has moved it.

    A moved directory is relative if it lies under the home directory, else absolute. An empty or relative value of a
    variable is ignored. Raises nothing.
    """
    try:
        home = Path.home()
    except (RuntimeError, OSError):
        home = None

    def place(template: str) -> str:
        if not template.startswith("$"):
            return template
        variable, _, rest = template[1:].partition("/")
        moved = Path(environment.get(variable, ""), rest)
        if not moved.is_absolute():
            moved = Path(MOVES[variable], rest)
        elif home and home.is_absolute() and moved.is_relative_to(home) and ".." not in moved.parts:
            moved = moved.relative_to(home)
        return moved.as_posix()

    return {
        key: replace(
            record,
            skills_user_roots=tuple(dict.fromkeys(map(place, record.skills_user_roots))),
            marker=place(record.marker),
        )
        for key, record in AGENTS.items()
    }


AGENT_CONFIG: dict[str, AgentRecord] = resolved(os.environ)
