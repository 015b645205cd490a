"""Setting up AI coding agents: which agents exist, and the skills installed for them."""
