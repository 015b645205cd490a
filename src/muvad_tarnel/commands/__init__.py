"""The commands `muvad-tarnel skill ...`, one file each."""

from importlib import import_module

import click

COMMANDS = ("install", "status", "plan", "shadowed", "diff", "remove", "agents", "show")


class SkillCommands(click.Group):
    """The group of the skill commands: a command's file is imported when the command is wanted."""

    def list_commands(self, ctx: click.Context) -> list[str]:  # noqa: ARG002 (click's signature)
        return list(COMMANDS)

    def get_command(self, ctx: click.Context, cmd_name: str) -> click.Command | None:  # noqa: ARG002
        if cmd_name not in COMMANDS:
            return None
        command = getattr(import_module(f"{__name__}.{cmd_name}"), cmd_name)
        assert isinstance(command, click.Command)  # noqa: S101 (for the type checker)
        return command


@click.group("skill", cls=SkillCommands)
def skill_group() -> None:
    """Install agent skills, see who reads them."""
