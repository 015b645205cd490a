"""The agent table: where each AI coding agent discovers skills, and other facts about it.

Rules for every row, at each scope:

- The agent's preferred directory comes first, followed by the other directories it reads. Planning prefers directories
  in this order.
- Directories are relative to the project's root or the home directory, with forward slashes, without a leading `~` and
  without a trailing slash. They are compared as text, so a directory must be spelled the same in every row.
- Only directories that the agent reads unconditionally are listed, and none that it calls deprecated. The installer
  can't see an agent's settings: a surplus copy is visible, but a skill in a directory that nobody reads is not. The
  only exception is Cursor's `.claude/skills`, which depends on a setting that is on by default.
- A user directory that an environment variable moves starts with that variable (`MOVES` has their defaults).

Variables that add directories or replace several at once are not supported: docs/cli.md lists them.
"""

import os
from collections.abc import Mapping
from dataclasses import dataclass, replace
from pathlib import Path
from typing import Final, Literal

type Scope = Literal["user", "project"]

# What an agent does with a skill that it finds at both scopes: the named copy hides the other, both are listed, or the
# behaviour is undocumented.
type Precedence = Literal["user", "project", "both", "unknown"]

# The environment variables that move a directory, and its default location under the home directory.
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
    """One agent: its display name, and the skills directories it reads at each scope, preferred one first.

    `marker` is a directory that the agent itself creates, relative to the home directory or absolute: if it contains
    more than skills, the agent is in use. Empty if there is none. Never `.agents`, which the agents share.
    """

    name: str
    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]
    marker: str
    precedence: Precedence = "unknown"

    def directories(self, scope: Scope) -> tuple[str, ...]:
        """The skills directories that the agent reads at a scope, preferred one first."""
        return self.skills_user_roots if scope == "user" else self.skills_project_roots


# The date of the last check of all rows against the agents' documentation, source and issue trackers. Rows become
# outdated: check one again before relying on it, and update this date only after checking all of them.
CHECKED_ON: Final = "2026-11-23"

# Warp reads the directories of ten agents, the same at both scopes.
_WARP = ".agents .warp .claude .codex .cursor .gemini .copilot .factory .github .opencode"


def _agent(
    name: str, project: str, user: str, precedence: Precedence = "unknown", *, marker: str | None = None
) -> AgentRecord:
    """A row of the table. Directories are given without the final `/skills` that they all have.

    The marker defaults to the first user directory other than `.agents` and `agents`.
    """
    in_project, for_user = (tuple(f"{root}/skills" for root in roots.split()) for roots in (project, user))
    if marker is None:
        marker = next(root for root in user.split() if not root.endswith("agents"))
    return AgentRecord(name, in_project, for_user, marker, precedence)


# The rows before the environment variables are resolved.
AGENTS: Final = {
    "claude": _agent("Claude Code", ".claude", "$CLAUDE_CONFIG_DIR", "user"),
    # Both copies are listed: observed, not documented.
    "cursor": _agent("Cursor", ".cursor .claude .agents", ".cursor .claude .agents", "both"),
    # Copilot itself searches `.agents/skills` before `.claude/skills`; here, their order only breaks ties.
    # The user directory `~/.claude/skills` is left out: VS Code reads it, but the command line no longer does.
    "copilot": _agent("GitHub Copilot", ".github .claude .agents", "$COPILOT_HOME .agents", "project"),
    # Windsurf reads `.claude/skills` only with a setting that is off by default, and never `~/.windsurf/skills`.
    "windsurf": _agent("Windsurf", ".windsurf .agents", ".codeium/windsurf .agents"),
    "codex": _agent("Codex", ".agents", ".agents", "both", marker="$CODEX_HOME"),
    "gemini": _agent("Gemini CLI", ".gemini .agents", ".gemini .agents", "project"),
    "opencode": _agent("OpenCode", ".opencode .claude .agents", "$XDG_CONFIG_HOME/opencode .opencode .claude .agents"),
    # `.config/agents` is literal here: XDG_CONFIG_HOME only moves Goose's own directory.
    "goose": _agent(
        "Goose", ".agents .goose .claude", ".agents $XDG_CONFIG_HOME/goose .claude .config/agents", "project"
    ),
    "zed": _agent("Zed", ".agents", ".agents", "project", marker="$XDG_CONFIG_HOME/zed"),
    "amp": _agent("Amp", ".agents .claude", "$XDG_CONFIG_HOME/agents .agents $XDG_CONFIG_HOME/amp .claude", "user"),
    # Its extension also reads the project's `.claude/skills`, but its command line doesn't.
    "cline": _agent("Cline", ".cline .agents", ".cline .agents", "user"),
    "kilo": _agent(
        "Kilo Code", ".kilo .agents", ".kilo $XDG_CONFIG_HOME/kilo .agents", "project", marker="$XDG_CONFIG_HOME/kilo"
    ),
    "qwen": _agent("Qwen Code", ".qwen .agents", "$QWEN_HOME .agents", "project"),
    "kimi": _agent("Kimi Code CLI", ".kimi-code .agents", "$KIMI_CODE_HOME .agents", "project"),
    # Its project directory is `.agent/skills`, in the singular.
    "droid": _agent("Factory Droid", ".factory .agent", ".factory"),
    "kiro": _agent("Kiro", ".kiro", ".kiro", "project"),
    "warp": _agent("Warp", _WARP, _WARP, "both"),
    "augment": _agent("Augment", ".augment .claude", ".augment .claude"),
    "crush": _agent(
        "Crush", ".crush .agents .claude .cursor", "$XDG_CONFIG_HOME/crush $XDG_CONFIG_HOME/agents .agents .claude"
    ),
    "openhands": _agent("OpenHands", ".agents .openhands", ".agents .openhands", "project"),
    "pi": _agent("Pi", ".pi .agents", "$PI_CODING_AGENT_DIR .agents", "project"),
    "vibe": _agent("Mistral Vibe", ".vibe .agents", "$VIBE_HOME .agents", "project"),
    "letta": _agent("Letta Code", ".agents", ".letta", "project"),
    "rovodev": _agent("Rovo Dev CLI", ".rovodev .agents", ".rovodev .agents", "user"),
    # The user directory belongs to its default agent, which is called `agent`.
    "deepagents": _agent(
        "Deep Agents Code", ".deepagents .agents", ".deepagents/agent .agents", "project", marker=".deepagents"
    ),
    "xum": _agent("Xum", ".xum .agents", "$XUM_ROOT .agents", "project"),
    "pochi": _agent("Pochi", ".pochi .agents", ".pochi .agents", "project"),
    "neovate": _agent("Neovate Code", ".neovate", ".neovate", "project"),
    "firebender": _agent("Firebender", ".firebender", ".firebender", "project"),
    "qoder": _agent("Qoder", ".qoder", ".qoder", "project"),
    "codebuddy": _agent("CodeBuddy", ".codebuddy", ".codebuddy"),
    "codebuff": _agent("Codebuff", ".agents .claude", ".agents .claude", "project", marker=""),
    "devin": _agent("Devin", ".devin .agents .windsurf", ".config/devin .agents .codeium/windsurf"),
    "deepcode": _agent("Deep Code", ".deepcode .agents", ".deepcode .agents", "project"),
}


def resolved(environment: Mapping[str, str]) -> dict[str, AgentRecord]:
    """The table with the user directories as the environment variables set them.

    A moved directory is relative if it is under the home directory, otherwise absolute. An empty or relative value of
    a variable is ignored. Never raises.
    """
    home = Path(os.path.expanduser("~"))  # noqa: PTH111 (never raises)

    def place(template: str) -> str:
        if not template.startswith("$"):
            return template
        variable, _, rest = template[1:].partition("/")
        moved = Path(environment.get(variable, ""), rest)
        if not moved.is_absolute():
            moved = Path(MOVES[variable], rest)
        elif moved.is_relative_to(home) and ".." not in moved.parts:
            moved = moved.relative_to(home)
        return moved.as_posix()

    def with_places(row: AgentRecord) -> AgentRecord:
        roots = tuple(dict.fromkeys(map(place, row.skills_user_roots)))
        return replace(row, skills_user_roots=roots, marker=place(row.marker))

    return {key: with_places(row) for key, row in AGENTS.items()}


AGENT_CONFIG: dict[str, AgentRecord] = resolved(os.environ)
