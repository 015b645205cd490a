"""The installed documents as independent readers of YAML and Markdown see them."""

from pathlib import Path

import pytest
import yaml
from markdown_it import MarkdownIt
from markdown_it.token import Token

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


def blocks(path: Path, kind: str) -> list[Token]:
    return [token for token in MARKDOWN.parse(split(path)[1]) if token.type == kind]


def rows(path: Path) -> list[list[list[str]]]:
    """Every table as rows of texts."""
    tables: list[list[list[str]]] = []
    is_cell = False
    for token in MARKDOWN.parse(split(path)[1]):
        match token.type:
            case "table_open":
                tables.append([])
            case "tr_open":
                tables[-1].append([])
            case "inline" if is_cell:
                tables[-1][-1].append(token.content)
        is_cell = token.type in {"th_open", "td_open"}
    return tables


def test_the_front_matter_is_yaml_within_the_limits_that_agents_set(installed: Path) -> None:
    front_matter = yaml.safe_load(split(installed)[0])
    assert list(front_matter) == ["name", "description", "version"]
    assert front_matter["name"] == installed.parent.name
    assert 0 < len(front_matter["description"]) <= 1024
    assert "\n" not in front_matter["description"].rstrip("\n")  # folded, as it is meant
    assert str(front_matter["version"]) == __version__


def test_the_body_is_markdown_whose_blocks_are_those_one_sees(installed: Path) -> None:
    _, body = split(installed)
    headings = [line for line in body.splitlines() if line.startswith("#")]
    fences = blocks(installed, "fence")
    in_fences = {line for fence in fences for line in fence.content.splitlines()}
    assert len(blocks(installed, "heading_open")) == len([line for line in headings if line not in in_fences])
    assert body.count("```") == 2 * len(fences)  # none is left open or swallowed
    assert blocks(installed, "html_block") == []
    # A table that a parser doesn't take for one stays a paragraph with bars in it.
    assert sum(len(table) for table in rows(installed)) == sum(
        line.startswith("|") and not line.startswith("|---") for line in body.splitlines()
    )
    for table in rows(installed):
        assert len({len(row) for row in table}) == 1
        assert all(cell for row in table for cell in row)


def test_the_playbook_has_its_tables_and_its_commands(project: Path) -> None:
    path = Path(skill.install_skill("project", project).path)
    tables = rows(path)
    assert [table[0] for table in tables] == [["Task", "Required call"], ["Tool", "Actions", "Use for"]]
    assert [len(table) - 1 for table in tables] == [8, 14]
    (commands,) = blocks(path, "fence")
    assert commands.info == "bash"
    assert all(line.startswith("muvad-tarnel query ") for line in commands.content.splitlines())
