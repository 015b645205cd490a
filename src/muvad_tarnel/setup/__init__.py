"""The setup of AI coding agents: the agent table, and the skills to install."""
