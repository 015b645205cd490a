"""The reference host of the agent skills: its version, its agent table and its command line."""

# The single source of the version: packaging reads this line, and installed skills are stamped with it.
__version__ = "0.1.0"
