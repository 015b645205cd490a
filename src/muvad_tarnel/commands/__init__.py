"""The commands `muvad-tarnel skill ...`, one per file."""

from importlib import import_module
from typing import Any

import click

from muvad_tarnel.commands.spelling import did_you_mean
from muvad_tarnel.failure import Obstacle

COMMANDS = ("install", "update", "status", "plan", "shadowed", "diff", "remove", "agents", "show")


class Group(click.Group):
    """A group that suggests the intended command for an unknown one."""

    def resolve_command(
        self, ctx: click.Context, args: list[str]
    ) -> tuple[str | None, click.Command | None, list[str]]:
        word, known = args[0], self.list_commands(ctx)
        if not word.startswith("-") and word not in known and not ctx.resilient_parsing:
            guess = did_you_mean(word, known) or did_you_mean(word, COMMANDS, "skill ")
            if word in ("init", "query", "rebuild", "report"):  # the skills' documents mention these
                guess = " It belongs to the host that keeps the index, and is not part of this package."
            ctx.fail(f"No such command {word!r}.{guess}")
        return super().resolve_command(ctx, args)


class SkillCommands(Group):
    """The skill commands, each imported when it is used."""

    def list_commands(self, ctx: click.Context) -> list[str]:  # noqa: ARG002 (click's signature)
        return list(COMMANDS)

    def get_command(self, ctx: click.Context, cmd_name: str) -> click.Command | None:  # noqa: ARG002
        if cmd_name not in COMMANDS:
            return None
        command: click.Command = getattr(import_module(f"{__name__}.{cmd_name}"), cmd_name)
        return command

    def invoke(self, ctx: click.Context) -> Any:
        """Run a command. With --json, print usage errors as JSON objects too."""
        is_json = "--json" in ctx.args
        try:
            return super().invoke(ctx)
        except click.UsageError as error:
            if is_json:
                from muvad_tarnel.output.console import object_text  # noqa: PLC0415
                from muvad_tarnel.output.report import Report  # noqa: PLC0415

                obstacle = Obstacle("", error.format_message(), "try --help")
                click.echo(object_text(ctx.invoked_subcommand or "", Report([], [], errors=[obstacle])), nl=False)
            raise


_SUMMARY = "Install agent skills, and see which agents read them."
skill_group = SkillCommands("skill", help=_SUMMARY, short_help=_SUMMARY)
