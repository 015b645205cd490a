"""The installed documents as independent readers of YAML and Markdown see them."""

from collections import Counter
from itertools import pairwise
from pathlib import Path

import pytest
import yaml
from markdown_it import MarkdownIt

from muvad_tarnel import __version__
from muvad_tarnel.setup import skill

# CommonMark with the tables of GitHub's dialect.
MARKDOWN = MarkdownIt("commonmark").enable("table")


@pytest.fixture(params=sorted(skill.SKILL_TEMPLATES))
def installed(request: pytest.FixtureRequest, project: Path) -> Path:
    result = skill.install_skill("project", project, skill_name=request.param)
    assert result.installed
    return Path(result.path)


def split(path: Path) -> tuple[str, str]:
    opening, front_matter, body = path.read_text(encoding="utf-8").split("---\n", 2)
    assert opening == ""
    return front_matter, body


def test_the_front_matter_is_yaml_within_the_limits_that_agents_set(installed: Path) -> None:
    front_matter = yaml.safe_load(split(installed)[0])
    assert list(front_matter) == ["name", "description", "version"]
    assert front_matter["name"] == installed.parent.name
    assert 0 < len(front_matter["description"]) <= 1024
    assert "\n" not in front_matter["description"].rstrip("\n")  # folded, as it is meant
    assert str(front_matter["version"]) == __version__


def test_the_body_is_markdown_whose_blocks_are_those_one_sees(installed: Path) -> None:
    _, body = split(installed)
    tokens = MARKDOWN.parse(body)
    kinds = Counter(token.type for token in tokens)
    fences = [token.content for token in tokens if token.type == "fence"]
    assert body.count("```") == 2 * len(fences)  # none is left open or swallowed
    lines = Counter(line[:1] for line in body.splitlines()) - Counter(line[:1] for line in "".join(fences).splitlines())
    assert kinds["heading_open"] == lines["#"]
    assert kinds["html_block"] == 0
    # A table that a parser doesn't take for one stays a paragraph with bars in it.
    assert kinds["tr_open"] == lines["|"] - kinds["table_open"]
    cells = [token.content for before, token in pairwise(tokens) if before.type in {"th_open", "td_open"}]
    assert all(cells)
