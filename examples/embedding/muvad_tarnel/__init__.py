"""The package of a separate program that ships the skills module, with its own version."""

__version__ = "7.4.0"
