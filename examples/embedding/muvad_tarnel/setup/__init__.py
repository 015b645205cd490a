"""The place for the module, `muvad_tarnel.setup.skill`, next to the agent table it reads."""
