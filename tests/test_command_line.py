"""The command line as a person uses it: what it writes, what it says and how it exits."""

import os
from pathlib import Path

import pytest

from command_line import answer, copy_in, put, run, run_process
from muvad_tarnel import __version__
from muvad_tarnel.commands import COMMANDS
from muvad_tarnel.installed import plans
from muvad_tarnel.setup import skill
from muvad_tarnel.setup.config import AGENT_CONFIG
from muvad_tarnel.setup.skill import SKILL_TEMPLATES, render_skill_md

OLD = render_skill_md("0.0.1")
EDITED = render_skill_md() + "\nMy own words.\n"


def files(root: Path) -> set[str]:
    return {path.relative_to(root).as_posix() for path in root.rglob("*") if path.is_file()}


def directories_written(root: Path) -> set[str]:
    """The skills directories below `root` in which every skill stands."""
    found = {document.parent.parent for document in root.rglob("SKILL.md")}
    return {
        directory.relative_to(root).as_posix()
        for directory in found
        if {path.name for path in directory.iterdir()} == set(SKILL_TEMPLATES)
    }


class TestInstalling:
    def test_a_second_run_finds_everything_up_to_date_unless_forced(self, home: Path) -> None:
        for options, message in [
            ([], f"installed v{__version__}"),
            ([], f"already up to date (v{__version__})"),
            (["--force"], f"updated to v{__version__}"),
        ]:
            said = answer("install", *options)
            assert [result["message"] for result in said["results"]] == [message] * len(SKILL_TEMPLATES)
        assert "already up to date" in run("install").stdout
        assert directories_written(home) == {".claude/skills"}

    def test_a_dry_run_says_what_would_be_and_writes_nothing(self, home: Path, project: Path) -> None:
        outdated = put(home, ".claude/skills", OLD, "tarnel")
        results = answer("install", "--dry-run")["results"]
        messages = [
            f"would update v0.0.1 -> v{__version__} (dry run)",
            *[f"would install v{__version__} (dry run)"] * 2,
        ]
        assert [result["message"] for result in results] == messages
        assert outdated.read_text() == OLD
        assert (files(home), files(project)) == ({".claude/skills/tarnel/SKILL.md"}, set())

    @pytest.mark.parametrize(
        ("obstacle", "remedy"),
        [
            ("a file for a directory", "move {copy.parent} away: a directory belongs there"),
            ("not UTF-8", "mend or remove it"),
            ("a directory for a file", "move the directory {copy} away"),
            ("a pipe", "move {copy} away"),
        ],
    )
    def test_one_failure_is_told_with_its_path_and_the_other_skills_are_written(
        self, home: Path, obstacle: str, remedy: str
    ) -> None:
        copy = copy_in(home, ".claude/skills", "tarnel-map")
        if obstacle == "a file for a directory":
            copy.parent.parent.mkdir(parents=True)
            copy.parent.write_text("in the way")
        elif obstacle == "not UTF-8":
            put(home, ".claude/skills", b"version: \xff\n", "tarnel-map")
        elif obstacle == "a pipe":
            copy.parent.mkdir(parents=True)
            os.mkfifo(copy)
        else:
            copy.mkdir(parents=True)
        result = run("install")
        assert result.exit_code == 1
        assert result.stderr.startswith(f"Error: {copy}: ")
        assert result.stderr.endswith(f": {remedy.format(copy=copy)}\n")
        assert result.stderr.count("\n") == 1
        assert "2 written and 1 failed" in result.stdout
        assert {name for name in SKILL_TEMPLATES if copy_in(home, ".claude/skills", name).is_file()} >= {
            "tarnel",
            "tarnel-wiki",
        }

    @pytest.mark.parametrize(
        ("options", "directories"),
        [
            (["--agent", "cursor", "--agent", "WINDSURF"], {".cursor/skills", ".windsurf/skills"}),
            (["--all-agents"], {".agents/skills", ".claude/skills"}),
        ],
    )
    def test_the_agents_decide_the_directories(self, tmp_path: Path, options: list[str], directories: set[str]) -> None:
        elsewhere = tmp_path / "elsewhere"
        elsewhere.mkdir()
        run("install", "--scope", "project", "--project", str(elsewhere), *options)
        assert directories_written(elsewhere) == directories

    @pytest.mark.parametrize(
        ("text", "options", "said"),
        [
            (EDITED, [], ""),
            (EDITED, ["--force"], "replacing {}, edited\n"),
            (OLD, [], ""),
            (OLD + "more\n", [], "replacing {}, edited, or another edition of the document\n"),
            (OLD + "more\n", ["--dry-run"], "would replace {}, edited, or another edition of the document\n"),
            ("my own", [], "replacing {}, not written by this package\n"),
            ("\ufeff" + OLD.replace("\n", "\r\n"), [], ""),
        ],
    )
    def test_a_foreign_text_is_named_before_it_is_replaced(
        self, home: Path, text: str, options: list[str], said: str
    ) -> None:
        copy = put(home, ".claude/skills", text, "tarnel")
        result = run("install", *options)
        assert result.stderr == (said and "note: " + said.format(copy))
        is_kept = (text == EDITED and not options) or "--dry-run" in options
        assert (copy.read_bytes().decode() == text) is is_kept
        assert ("modified by hand" in result.stdout) is (text == EDITED and not options)


class TestTheProject:
    @pytest.mark.parametrize(("git", "root"), [("folder", "inner"), ("file", "inner"), ("absent", "inner/deep/down")])
    def test_it_is_the_nearest_folder_upward_that_holds_git_and_named_when_that_is_elsewhere(
        self, project: Path, monkeypatch: pytest.MonkeyPatch, git: str, root: str
    ) -> None:
        current = project / "inner/deep/down"
        current.mkdir(parents=True)
        monkeypatch.chdir(current)
        if git == "file":
            (project / ".git").mkdir()
            (project / "inner/.git").touch()
        elif git == "folder":
            (project / "inner/.git").mkdir()
        result = run("install", "--scope", "project")
        assert directories_written(project / root) == {".claude/skills"}
        assert (str(project / root) in result.stderr) is (git != "absent")

    def test_a_project_that_is_the_home_directory_is_pointed_out_and_its_copies_count_once(
        self, home: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.chdir(home)
        put(home, ".claude/skills")
        put(home, ".cursor/skills", OLD)
        result = run("shadowed", "--check", "--agent", "claude", "--agent", "cursor")
        assert (result.exit_code, "is the home directory" in result.stderr) == (0, True)
        pairs = answer("shadowed", "--agent", "cursor")["results"]
        assert [pair["user_path"] for pair in pairs] == [pair["project_path"] for pair in pairs] != []
        assert "one and the same file" in result.stdout
        assert "remove" not in result.stdout
        assert "At both scopes" not in run("status").stdout


class TestStatus:
    CASES = (
        (None, "missing", None, 1),
        (render_skill_md(), "current", __version__, 0),
        ("\ufeff" + render_skill_md().replace("\n", "\r\n"), "current", __version__, 0),
        (OLD, "update available", "0.0.1", 1),
        (OLD + "more\n", "update available", "0.0.1", 1),
        (render_skill_md("99.0"), "newer", "99.0", 0),
        (EDITED, "modified by hand", __version__, 0),
        ("no stamp", "unstamped", None, 1),
        (b"version: \xff\n", "unreadable", None, 1),
    )

    @pytest.mark.parametrize(
        ("text", "state", "version", "check"), CASES, ids=[f"{case[1]}-{i}" for i, case in enumerate(CASES)]
    )
    def test_every_state_is_told_and_checked(
        self, home: Path, text: str | bytes | None, state: str, version: str | None, check: int
    ) -> None:
        put(home, ".claude/skills")
        copy = copy_in(home, ".claude/skills")
        if text is None:
            copy.unlink()
        else:
            put(home, ".claude/skills", text, "tarnel")
        first, *others = answer("status", "--scope", "user", "--check", exit_code=check)["results"]
        assert (first["path"], first["state"], first["version"]) == (str(copy), state, version)
        assert [other["state"] for other in others] == ["current"] * 2
        assert run("status").exit_code == 0
        assert ("muvad-tarnel skill install\n" in run("status", "--scope", "user").stdout) is bool(check)

    def test_only_the_scopes_looked_at_and_the_planned_directories_are_checked(self, home: Path, project: Path) -> None:
        put(project, ".cursor/skills")
        outdated = put(project, ".agents/skills", OLD, "tarnel")
        check = ["status", "--check", "--agent", "cursor"]
        assert run(*check).exit_code == 1, "nothing at user scope"
        result = run(*check, "--scope", "project")
        assert result.exit_code == 0, "outside the plan: a warning"
        assert str(outdated.parent.parent) in result.stdout
        assert "muvad-tarnel skill remove .agents/skills --scope project" in result.stdout
        assert "skill remove .cursor/skills" not in result.stdout, "one of two pieces of advice would leave nothing"
        assert not any(home.iterdir())

    def test_an_outdated_copy_outside_the_plan_is_updated_through_its_owner_if_it_has_one(self, home: Path) -> None:
        put(home, ".claude/skills", OLD)
        shown = run("status", "--agent", "cursor").stdout
        assert "removed by:     muvad-tarnel skill remove .claude/skills\n" in shown
        assert "or updated by:  muvad-tarnel skill install\n" in shown
        put(home, ".agents/skills", OLD)
        assert "or updated by" not in run("status", "--agent", "gemini").stdout, "many call it their own"

    def test_it_tells_who_reads_each_copy_and_where_each_agent_finds_it(self, home: Path) -> None:
        put(home, ".claude/skills")
        put(home, ".cursor/skills", None, "tarnel-map")
        put(home, ".gemini/skills")
        said = answer("status", "--agent", "claude", "--agent", "cursor", "--scope", "user")
        assert [(r["directory"], r["skill"], r["agents"]) for r in said["results"]] == [
            *[(".claude/skills", name, ["claude", "cursor"]) for name in SKILL_TEMPLATES],
            (".cursor/skills", "tarnel-map", ["cursor"]),
        ]
        finds = {(found["agent"], found["skill"]): found["paths"] for found in said["finds"]}
        assert finds["claude", "tarnel-map"] == [str(copy_in(home, ".claude/skills", "tarnel-map"))]
        assert len(finds["cursor", "tarnel-map"]) == 2
        assert [(twice["agents"], twice["skills"]) for twice in said["seen_twice"]] == [(["cursor"], ["tarnel-map"])]

    def test_linked_directories_hold_one_copy(self, home: Path) -> None:
        put(home, ".claude/skills")
        (home / ".cursor").mkdir()
        (home / ".cursor/skills").symlink_to("../.claude/skills")
        result = run("status", "--agent", "cursor", "--scope", "user")
        assert "lead to the same files" in result.stdout
        assert "twice" not in result.stdout

    def test_a_copy_that_cannot_be_read_is_no_sighting(self, home: Path) -> None:
        put(home, ".cursor/skills")
        put(home, ".claude/skills", b"\xff")
        assert answer("status", "--agent", "cursor")["seen_twice"] == []


class TestSeeingTwice:
    def test_an_agent_added_to_what_lies_on_disk_is_warned_of_before_and_after(self, home: Path) -> None:
        put(home, ".claude/skills")
        remedies = {
            "avoided by:  muvad-tarnel skill install --agent claude --agent cursor",
            "mended by:   muvad-tarnel skill remove .cursor/skills",
        }
        for command, words in [
            ("plan", "would see"),
            ("install --dry-run", "would see"),
            ("install", "now sees"),
            ("status", "sees"),
        ]:
            shown = run(*command.split(), "--agent", "cursor").stdout
            assert f"Cursor {words} every skill twice: in {home}/.claude/skills and {home}/.cursor/skills." in shown
            assert remedies <= {line.strip() for line in shown.splitlines()}
        run("remove", ".cursor/skills")
        assert "twice" not in run("status", "--agent", "cursor").stdout

    def test_someone_else_who_has_a_directory_of_his_own_is_warned_for_as_well(self, home: Path) -> None:
        put(home, ".cursor/skills")
        shown = run("install", "--agent", "codex").stdout
        assert "Cursor now sees every skill twice" in shown
        assert "Gemini" not in shown, "nothing says that it is in use"

    def test_what_no_choice_avoids_has_no_remedy(self) -> None:
        said = answer("plan", "--all-agents", "--scope", "project")
        (twice,) = said["seen_twice"]
        assert (twice["avoided_by"], twice["mended_by"]) == (None, [])
        assert said["avoided_duplicates"] == ["windsurf", "gemini", "cline"]
        assert set(twice["agents"]) == {"cursor", "copilot", "opencode", "goose", "amp"}

    @pytest.mark.parametrize("scope", ["user", "project"])
    @pytest.mark.parametrize("other", AGENT_CONFIG)
    @pytest.mark.parametrize("first", ["claude", "codex", "gemini", "amp"])
    @pytest.mark.parametrize("asked", ["install", "status"])
    def test_following_the_advice_leaves_both_agents_with_one_sighting(
        self, tmp_path: Path, asked: str, first: str, other: str, scope: str
    ) -> None:
        # In a project that isn't the one we stand in: the advice has to name it.
        where = ["--scope", scope, *(["--project", str(tmp_path)] if scope == "project" else [])]
        both = ["--agent", first, "--agent", other, *where]
        answer("install", "--agent", first, *where)
        install = ["install", "--agent", other, *where]
        answer(*install)
        for ask in ([install] if asked == "install" else []) + [["status", *both]]:
            for twice in answer(*ask)["seen_twice"]:
                for line in twice["mended_by"]:
                    assert run(*line.split()[2:]).exit_code == 0
        said = answer("status", *both)
        assert [len(found["paths"]) for found in said["finds"]] == [1] * len({first, other}) * len(SKILL_TEMPLATES)


class TestPlan:
    def test_every_reader_of_a_planned_directory_is_listed_with_the_reason(self) -> None:
        agents = [word for key in ("claude", "cursor", "windsurf") for word in ("--agent", key)]
        said = answer("plan", "--scope", "project", *agents)
        assert {r["directory"]: {s["agent"]: s["why"] for s in r["serves"]} for r in said["results"]} == {
            ".claude/skills": {"claude": "its own directory", "cursor": "shared, in place of .cursor/skills"},
            ".windsurf/skills": {"windsurf": "its own directory"},
        }
        assert said["avoided_duplicates"] == ["cursor"]

    def test_too_many_candidates_are_a_quick_choice(self, monkeypatch: pytest.MonkeyPatch) -> None:
        assert plans.FULL_SEARCH_LIMIT == skill._EXHAUSTIVE_SEARCH_LIMIT
        assert answer("plan", "--all-agents")["quick_choice"] is False
        monkeypatch.setattr(plans, "FULL_SEARCH_LIMIT", 3)
        assert answer("plan", "--all-agents")["quick_choice"] is True
        assert "Quick choice" in run("plan", "--all-agents").stdout


class TestShadowed:
    @pytest.mark.parametrize(
        ("agent", "user", "project_directory", "effect"),
        [
            ("claude", ".claude/skills", ".claude/skills", "user copy hides project copy"),
            ("copilot", ".copilot/skills", ".github/skills", "project copy hides user copy"),
            ("cursor", ".agents/skills", ".cursor/skills", "both are listed"),
            ("windsurf", ".codeium/windsurf/skills", ".windsurf/skills", "not documented"),
        ],
    )
    def test_both_copies_the_effect_and_the_remedy_are_named(
        self, home: Path, project: Path, *, agent: str, user: str, project_directory: str, effect: str
    ) -> None:
        shadowed = ["shadowed", "--agent", agent]
        copies = [put(project, project_directory, OLD, "tarnel")]
        assert answer(*shadowed, "--check")["results"] == []
        copies.insert(0, put(home, user))
        (pair,) = answer(*shadowed, "--check", exit_code=1)["results"]
        assert [pair["user_path"], pair["project_path"]] == list(map(str, copies))
        assert pair["effect"] == effect
        assert pair["skill"] in skill.shadowed_skills(project, agents=(agent,))
        assert effect in run(*shadowed).stdout
        assert run(*pair["mended_by"].split()[2:]).exit_code == 0
        assert run(*shadowed, "--check").exit_code == 0
        assert files(home) == {f"{user}/{name}/SKILL.md" for name in ("tarnel-map", "tarnel-wiki")}

    def test_linked_copies_are_one_file(self, home: Path, project: Path) -> None:
        put(home, ".claude/skills")
        (project / ".claude").symlink_to(home / ".claude")
        said = answer("shadowed", "--check")
        assert {(pair["same_file"], pair["mended_by"]) for pair in said["results"]} == {(True, None)}


class TestRemoving:
    @pytest.mark.parametrize(
        ("text", "is_ours"),
        [
            (None, True),
            (OLD, True),
            ("\ufeff" + OLD.replace("\n", "\r\n"), True),
            (OLD + "more\n", False),
            (EDITED, False),
            ("no stamp", False),
            (b"\xff", False),
        ],
    )
    def test_only_what_this_package_wrote_goes_without_force(
        self, home: Path, text: str | bytes | None, *, is_ours: bool
    ) -> None:
        copy = put(home, ".claude/skills", text, "tarnel")
        result = run("remove", "--dry-run")
        assert (result.exit_code, copy.exists()) == (int(not is_ours), True)
        result = run("remove")
        assert (result.exit_code, copy.parent.exists()) == (int(not is_ours), not is_ours)
        if not is_ours:
            assert (result.stderr.count("\n"), str(copy) in result.stderr, "--force" in result.stderr) == (
                1,
                True,
                True,
            )
            forced = run("remove", "--force")
            assert (forced.exit_code, str(copy) in forced.stderr, copy.parent.exists()) == (0, True, False)

    def test_a_directory_that_holds_more_stays(self, home: Path) -> None:
        put(home, ".claude/skills")
        (home / ".claude/skills/tarnel/notes.txt").touch()
        assert run("remove").exit_code == 0
        assert files(home) == {".claude/skills/tarnel/notes.txt"}
        assert {path.name for path in (home / ".claude/skills").iterdir()} == {"tarnel"}

    def test_a_copy_behind_a_link_is_someone_elses(self, home: Path) -> None:
        put(home, ".claude/skills")
        (home / ".cursor").mkdir()
        (home / ".cursor/skills").symlink_to("../.claude/skills")
        result = run("remove", ".cursor/skills")
        assert (result.exit_code, "link" in result.stderr) == (1, True)
        assert directories_written(home) == {".claude/skills"}

    def test_it_undoes_an_install_with_the_same_options(self, home: Path, project: Path) -> None:
        options = ["--all-agents", "--scope", "project"]
        run("install", *options)
        put(home, ".claude/skills")
        assert len(answer("remove", *options)["results"]) == 6
        assert files(project) == set()
        assert answer("remove", *options)["results"] == []
        assert directories_written(home) == {".claude/skills"}

    @pytest.mark.parametrize("directory", [".claude/skills", "~/.claude/skills/", "{home}/.claude/skills"])
    def test_a_directory_may_be_given_by_its_path(self, home: Path, directory: str) -> None:
        put(home, ".claude/skills")
        assert run("remove", directory.format(home=home), "--skill", "tarnel").exit_code == 0
        assert not copy_in(home, ".claude/skills").exists()
        assert copy_in(home, ".claude/skills", "tarnel-map").exists()


class TestShowing:
    def test_show_prints_the_document_that_install_writes(self, home: Path) -> None:
        run("install")
        for name in SKILL_TEMPLATES:
            written = copy_in(home, ".claude/skills", name).read_text()
            assert run("show", name).stdout == written == answer("show", name)["results"][0]["text"]

    def test_diff_shows_what_would_be_lost_and_nothing_else(self, home: Path) -> None:
        put(home, ".claude/skills", OLD, "tarnel")
        assert "No installed copy differs" in run("diff").stdout
        copy = put(home, ".claude/skills", OLD.replace("## Defaults", "## Mine\x1b[31m"), "tarnel")
        lines = run("diff").stdout.splitlines()
        changed = [line for line in lines if line[0] in "+-" and not line.startswith(("+++", "---"))]
        assert changed == ["-## Mine\N{REPLACEMENT CHARACTER}[31m", "+## Defaults"]
        assert lines[0].startswith(f"--- {copy} ")

    def test_agents_lists_the_table(self, home: Path) -> None:
        (home / ".cursor/settings").mkdir(parents=True)
        said = answer("agents")
        assert [r["key"] for r in said["results"] if r["in_use"]] == ["cursor"]
        assert [(r["key"], tuple(r["user_directories"])) for r in said["results"]] == [
            (key, AGENT_CONFIG[key].skills_user_roots) for key in skill.skill_capable_agents()
        ]
        shown = run("agents").stdout
        assert all(name in shown for name in (*AGENT_CONFIG, *(record.name for record in AGENT_CONFIG.values())))


class TestDetecting:
    def test_agents_in_use_are_found_by_what_they_left(self, home: Path) -> None:
        for path in [
            ".cursor/settings",
            ".codeium/windsurf/memories",
            ".gemini/skills/x",
            ".agents/other",
            ".claude/skills/y",
        ]:
            (home / path).mkdir(parents=True)
        result = run("install", "--detect")
        assert result.stderr == "note: detected: Cursor, Windsurf\n"
        assert directories_written(home) == {".cursor/skills", ".codeium/windsurf/skills"}

    def test_none_in_use_is_a_failure_that_says_so(self, home: Path) -> None:
        (home / ".claude/skills").mkdir(parents=True)
        assert answer("install", "--detect", exit_code=1)["results"] == []
        assert "no agent was detected" in run("status", "--detect").stderr

    @pytest.mark.parametrize("command", ["install", "status"])
    def test_an_agent_whose_directory_the_environment_moved_is_pointed_out(
        self, home: Path, monkeypatch: pytest.MonkeyPatch, command: str
    ) -> None:
        ask = [command, "--agent", "claude", "--agent", "opencode", "--agent", "cursor"]
        monkeypatch.setenv("CLAUDE_CONFIG_DIR", str(home / ".claude"))
        monkeypatch.setenv("XDG_CONFIG_HOME", "")
        assert run(*ask).stderr == ""
        monkeypatch.setenv("CLAUDE_CONFIG_DIR", "/moved")
        monkeypatch.setenv("XDG_CONFIG_HOME", "/config")
        claude, opencode = run(*ask).stderr.splitlines()
        assert f"Claude Code reads /moved/skills and not {home}/.claude/skills" in claude
        assert f"OpenCode reads /config/opencode/skills and not {home}/.config/opencode/skills" in opencode
        assert run(*ask, "--scope", "project").stderr == ""


class TestMistakesAndFaults:
    @pytest.mark.parametrize(
        ("arguments", "named"),
        [
            ("install --agent nobody", ["nobody", *AGENT_CONFIG]),
            ("install --all-agents --agent claude", ["--agent", "--all-agents", "--detect"]),
            ("status --detect --all-agents", ["--agent", "--all-agents", "--detect"]),
            ("install --project .", ["--project", "--scope"]),
            ("install --scope both", ["both", "user", "project"]),
            ("status --project missing", ["missing"]),
            ("remove .windsurf/skills", [".windsurf/skills", ".codeium/windsurf/skills"]),
            ("show tarnel-nothing", ["tarnel-nothing", *SKILL_TEMPLATES]),
        ],
    )
    def test_usage_errors_exit_2_and_name_what_is_wrong(self, home: Path, arguments: str, named: list[str]) -> None:
        result = run(*arguments.split(), "--json")
        assert (result.exit_code, result.stdout) == (2, "")
        assert all(word in result.stderr.split("Error:")[1] for word in named)
        assert list(home.iterdir()) == []

    def test_a_project_given_beside_the_user_scope_by_name_is_not_needed_and_no_mistake(self, home: Path) -> None:
        assert run("install", "--scope", "user", "--project", ".").exit_code == 0
        assert (home / ".claude/skills/tarnel/SKILL.md").exists()

    @pytest.mark.parametrize(
        ("command", "unusable"),
        [(command, "~nobody") for command in ("install", "status", "plan", "shadowed", "diff", "remove", "agents")]
        + [(command, home) for command in ("install", "status") for home in (f"/{'x' * 300}", "/dev/null", "/sys")],
    )
    def test_a_home_that_cannot_be_used_is_told_in_lines_without_a_traceback(self, command: str, unusable: str) -> None:
        ran = run_process("skill", command, HOME=unusable)
        assert "Traceback" not in ran.stderr
        assert all(line.startswith(("Error: ", "note: ")) for line in ran.stderr.splitlines())
        assert ran.returncode == int(
            command == "install"
            or (unusable == "~nobody" and command != "agents")
            or (len(unusable) > 300 and command in ("diff", "remove"))
        )

    def test_without_a_home_the_project_is_still_looked_at(
        self, project: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        put(project, ".claude/skills")
        monkeypatch.setenv("HOME", "~nobody")
        said = answer("status", exit_code=1)
        assert {result["state"] for result in said["results"]} == {"current"}
        assert run("status", "--scope", "project").exit_code == 0

    def test_a_current_directory_that_is_gone_is_told_in_one_line(self, project: Path) -> None:
        project.rmdir()
        result = run("install", "--scope", "project")
        assert (result.exit_code, result.stdout, result.stderr.count("\n")) == (1, "", 1)
        assert "--project" in result.stderr
        assert run("install").exit_code == 0, "the user's scope needs none"

    def test_what_cannot_be_shown_of_a_file_name_is_replaced(self, home: Path) -> None:
        odd = str(home / "\udcff\N{EURO SIGN}\n\x1bend")
        ran = run_process("skill", "status", HOME=odd, PYTHONIOENCODING="latin-1")
        assert ran.returncode == 0, ran.stderr
        assert f"{home}/????end/.claude" in ran.stdout


class TestEveryCommand:
    @pytest.mark.parametrize("command", COMMANDS)
    def test_it_answers_one_json_object_and_nothing_else(self, home: Path, command: str) -> None:
        put(home, ".claude/skills", EDITED, "tarnel")
        arguments = [command, "tarnel"] if command == "show" else [command]
        plain = run(*arguments)
        said = answer(*arguments, "--verbose", exit_code=run(*arguments, "--quiet").exit_code)
        assert (type(said["schema"]), type(said["results"]), said["command"]) == (int, list, command)
        assert plain.exit_code in (0, 1)

        def paths(value: object, key: str = "") -> list[str]:
            if isinstance(value, dict):
                return [path for name, inner in value.items() for path in paths(inner, name)]
            if isinstance(value, list):
                return [path for inner in value for path in paths(inner, key)]
            return [value] if key.endswith("path") and isinstance(value, str) else []

        assert all(Path(path).is_absolute() for path in paths(said))

    @pytest.mark.parametrize("command", [command for command in COMMANDS if command not in ("show", "diff")])
    def test_quiet_says_nothing_where_nothing_failed(self, project: Path, command: str) -> None:
        (project / ".git").mkdir()
        (project / "sub").mkdir()
        os.chdir(project / "sub")
        result = run(command, "--quiet")
        assert (result.stdout, result.stderr) == ("", "")

    @pytest.mark.parametrize("command", COMMANDS)
    def test_help_has_examples_and_exit_codes(self, command: str) -> None:
        for flag in ("-h", "--help"):
            text = run(command, flag).stdout
            assert "Exit codes:\n    0 " in text
            assert max(map(len, text.splitlines())) <= 80
            assert "..." not in run("-h").stdout.split("Commands:")[1], "short helps are whole"
            assert "muvad-tarnel skill" in text or command == "agents"

    def test_the_version_is_the_package_version(self) -> None:
        assert run_process("--version").stdout == f"muvad-tarnel {__version__}\n"
