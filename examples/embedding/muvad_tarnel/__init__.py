"""A program of its own that ships the skills module: this is its package, and this its version."""

__version__ = "7.4.0"
