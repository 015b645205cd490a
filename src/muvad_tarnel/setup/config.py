"""The agent table: where each AI coding agent discovers skills.

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


@dataclass(frozen=True, slots=True)
class AgentRecord:
    """One agent: the name shown to people, and the skills directories it reads at each scope, native one first."""

    name: str
    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]


# Facts gathered on 2026-11-22 from the agents' documentation, source and issue trackers. They age: check a row
# against its agent before relying on it, and renew this date with the check of all of them.
AGENT_CONFIG: dict[str, AgentRecord] = {
    "claude": AgentRecord(
        name="Claude Code",
        skills_project_roots=(".claude/skills",),
        skills_user_roots=(".claude/skills",),
    ),
    "cursor": AgentRecord(
        name="Cursor",
        skills_project_roots=(".cursor/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".cursor/skills", ".claude/skills", ".agents/skills"),
    ),
    # Copilot itself searches `.agents/skills` before `.claude/skills`; here the order of the two only breaks ties.
    # Of its user directories `~/.claude/skills` is left out: VS Code reads it, the command line no longer does.
    "copilot": AgentRecord(
        name="GitHub Copilot",
        skills_project_roots=(".github/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".copilot/skills", ".agents/skills"),
    ),
    # Windsurf reads `.claude/skills` only behind a setting that is off by default, and `~/.windsurf/skills` never.
    "windsurf": AgentRecord(
        name="Windsurf",
        skills_project_roots=(".windsurf/skills", ".agents/skills"),
        skills_user_roots=(".codeium/windsurf/skills", ".agents/skills"),
    ),
    "codex": AgentRecord(
        name="Codex",
        skills_project_roots=(".agents/skills", ".codex/skills"),
        skills_user_roots=(".agents/skills", ".codex/skills"),
    ),
    "gemini": AgentRecord(
        name="Gemini CLI",
        skills_project_roots=(".gemini/skills", ".agents/skills"),
        skills_user_roots=(".gemini/skills", ".agents/skills"),
    ),
    "opencode": AgentRecord(
        name="OpenCode",
        skills_project_roots=(".opencode/skills", ".claude/skills", ".agents/skills"),
        skills_user_roots=(".config/opencode/skills", ".claude/skills", ".agents/skills"),
    ),
    "goose": AgentRecord(
        name="Goose",
        skills_project_roots=(".agents/skills", ".goose/skills", ".claude/skills"),
        skills_user_roots=(".agents/skills", ".config/goose/skills", ".claude/skills"),
    ),
    "zed": AgentRecord(
        name="Zed",
        skills_project_roots=(".agents/skills",),
        skills_user_roots=(".agents/skills",),
    ),
    "amp": AgentRecord(
        name="Amp",
        skills_project_roots=(".agents/skills", ".claude/skills"),
        skills_user_roots=(".config/agents/skills", ".agents/skills", ".claude/skills"),
    ),
    "cline": AgentRecord(
        name="Cline",
        skills_project_roots=(".cline/skills", ".agents/skills"),
        skills_user_roots=(".cline/skills", ".agents/skills"),
    ),
}
