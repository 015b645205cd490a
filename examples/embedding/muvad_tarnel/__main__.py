"""Install the skills into the current directory for every agent of the host: `python -m muvad_tarnel`."""

import sys
from pathlib import Path

from muvad_tarnel.setup import skill


def main() -> int:
    """Print a line for each copy; return 1 if one failed."""
    results = skill.install_skills("project", Path.cwd(), agents=skill.skill_capable_agents())
    for result in results:
        sys.stdout.write(f"{result.path}: {result.message} ({', '.join(result.agents)})\n")
    return 0 if all(result.success for result in results) else 1


if __name__ == "__main__":
    sys.exit(main())
