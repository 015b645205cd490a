"""Where the module goes: `muvad_tarnel.setup.skill`, beside the table it reads."""
