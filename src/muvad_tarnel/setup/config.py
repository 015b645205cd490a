"""The agent table: where each AI coding agent discovers skills, and what else is known of it.

Rules for every row, at each scope:

- The agent's native directory (its own) stands first, the directories it reads besides follow. Planning prefers
  directories by this order.
- Directories are relative, to the project's root or to the home directory, with forward slashes, without a leading
  `~` and without a trailing slash. They are compared as text, so one directory is spelled the same in every row.
- Only directories that the agent reads unconditionally are listed. The installer cannot see an agent's settings: a
  copy too many is visible, a skill installed where nobody looks is not. The one exception is Cursor's
  `.claude/skills`, which hangs on a switch that is on by default.
- All rows together name few enough directories that every choice among them can be tried.
"""

from dataclasses import dataclass
from typing import Final, Literal, NamedTuple

# What an agent does with a skill that it finds for the user as well as in the project: the copy named hides the
# other, both are listed, or nobody has documented it.
type Precedence = Literal["user", "project", "both", "unknown"]


class Move(NamedTuple):
    """An environment variable that names another place for a directory which otherwise is under the home directory."""

    variable: str
    directory: str


@dataclass(frozen=True, slots=True)
class AgentRecord:
    """One agent: the name shown to people, and the skills directories it reads at each scope, native one first.

    `marker` is a directory under the home directory that the agent itself makes: where it holds more than skills, the
    agent is in use. `.agents` marks nobody, for it belongs to all.
    """

    name: str
    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]
    marker: str
    precedence: Precedence = "unknown"
    moved_by: Move | None = None


XDG_CONFIG: Final = Move("XDG_CONFIG_HOME", ".config")

# Facts gathered on this day from the agents' documentation, source and issue trackers. They age: check a row against
# its agent before relying on it, and renew this date with the check of all of them.
CHECKED_ON: Final = "2026-11-22"

AGENT_CONFIG: dict[str, AgentRecord] = {
    "claude": AgentRecord(
        name="Claude Code",
        skills_project_roots=(".claude/skills",),
        skills_user_roots=(".claude/skills",),
        marker=".claude",
        precedence="user",
        moved_by=Move("CLAUDE_CONFIG_DIR", ".claude"),
    ),
    # That both copies are listed was seen; it is not documented.
    "cursor": AgentRecord(
        name="Cursor",
        skills_project_roots=(".cursor/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".cursor/skills", ".claude/skills", ".agents/skills"),
        marker=".cursor",
        precedence="both",
    ),
    # Copilot itself searches `.agents/skills` before `.claude/skills`; here the order of the two only breaks ties.
    # Of its user directories `~/.claude/skills` is left out: VS Code reads it, the command line no longer does.
    "copilot": AgentRecord(
        name="GitHub Copilot",
        skills_project_roots=(".github/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".copilot/skills", ".agents/skills"),
        marker=".copilot",
        precedence="project",
    ),
    # Windsurf reads `.claude/skills` only behind a setting that is off by default, and `~/.windsurf/skills` never.
    "windsurf": AgentRecord(
        name="Windsurf",
        skills_project_roots=(".windsurf/skills", ".agents/skills"),
        skills_user_roots=(".codeium/windsurf/skills", ".agents/skills"),
        marker=".codeium/windsurf",
    ),
    "codex": AgentRecord(
        name="Codex",
        skills_project_roots=(".agents/skills", ".codex/skills"),
        skills_user_roots=(".agents/skills", ".codex/skills"),
        marker=".codex",
    ),
    "gemini": AgentRecord(
        name="Gemini CLI",
        skills_project_roots=(".gemini/skills", ".agents/skills"),
        skills_user_roots=(".gemini/skills", ".agents/skills"),
        marker=".gemini",
    ),
    "opencode": AgentRecord(
        name="OpenCode",
        skills_project_roots=(".opencode/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".config/opencode/skills", ".claude/skills", ".agents/skills"),
        marker=".config/opencode",
        moved_by=XDG_CONFIG,
    ),
    "goose": AgentRecord(
        name="Goose",
        skills_project_roots=(".agents/skills", ".goose/skills", ".claude/skills"),
        skills_user_roots=(".agents/skills", ".config/goose/skills", ".claude/skills"),
        marker=".config/goose",
        moved_by=XDG_CONFIG,
    ),
    "zed": AgentRecord(
        name="Zed",
        skills_project_roots=(".agents/skills",),
        skills_user_roots=(".agents/skills",),
        marker=".config/zed",
        moved_by=XDG_CONFIG,
    ),
    "amp": AgentRecord(
        name="Amp",
        skills_project_roots=(".agents/skills", ".claude/skills"),
        skills_user_roots=(".config/agents/skills", ".agents/skills", ".claude/skills"),
        marker=".config/amp",
        moved_by=XDG_CONFIG,
    ),
    "cline": AgentRecord(
        name="Cline",
        skills_project_roots=(".cline/skills", ".agents/skills"),
        skills_user_roots=(".cline/skills", ".agents/skills"),
        marker=".cline",
    ),
}
