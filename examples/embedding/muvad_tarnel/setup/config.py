"""The host's own agents. A record can be any object with the two attributes."""

from typing import NamedTuple


class Agent(NamedTuple):
    """What the module reads of an agent: directories relative to a project or the home directory, native ones first."""

    skills_project_roots: tuple[str, ...]
    skills_user_roots: tuple[str, ...]


AGENT_CONFIG = {
    "scribe": Agent((".scribe/skills",), (".config/scribe/skills",)),
    "reviewer": Agent((".reviewer/skills", ".scribe/skills"), (".reviewer/skills",)),
    "chat": Agent((), ()),  # known to the host, but reads no skills
}
