"""What a host can rely on with its own version and table. Run `python -m unittest` in the host's folder."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import muvad_tarnel
from muvad_tarnel.setup import config, skill

HOST = Path(__file__).parent


class TestHost(unittest.TestCase):
    """The module as part of this host, without any other package."""

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.project = Path(folder.name).resolve()

    def run_host(self) -> list[str]:
        """Run the host's program in the project, like its user, and return its output."""
        command = [sys.executable, "-m", "muvad_tarnel"]
        environment = {"PYTHONPATH": str(HOST), "HOME": str(self.project / "home")}
        done = subprocess.run(command, cwd=self.project, env=environment, check=True, capture_output=True, text=True)
        return done.stdout.splitlines()

    def test_the_extension_is_the_one_beside_the_table(self) -> None:
        self.assertEqual(Path(skill.__file__).parent, Path(config.__file__).parent)
        self.assertIs(skill.AGENT_CONFIG, config.AGENT_CONFIG)

    def test_agents_and_directories_are_those_of_the_host(self) -> None:
        self.assertEqual(skill.skill_capable_agents(), ["scribe", "reviewer"])
        self.assertEqual(skill.skill_dir_plan(["scribe", "reviewer"]), {".scribe/skills": ["scribe", "reviewer"]})
        self.assertEqual(skill.resolve_skill_dirs(["claude"]), [])  # not an agent of this host

    def test_copies_carry_the_version_of_the_host_and_are_updated_to_it(self) -> None:
        first = self.run_host()
        self.assertEqual(len(first), len(skill.SKILL_TEMPLATES))
        self.assertTrue(all(f"installed v{muvad_tarnel.__version__} (scribe, reviewer)" in line for line in first))
        copy = self.project / ".scribe/skills/tarnel/SKILL.md"
        text = copy.read_text(encoding="utf-8")
        self.assertIn(f"version: {muvad_tarnel.__version__}\n", text)

        copy.write_text(text.replace(f"version: {muvad_tarnel.__version__}", "version: 7.3.9"), encoding="utf-8")
        self.assertEqual(sum("updated to v7.4.0" in line for line in self.run_host()), 1)
        self.assertEqual(copy.read_text(encoding="utf-8"), text)


if __name__ == "__main__":
    unittest.main()
