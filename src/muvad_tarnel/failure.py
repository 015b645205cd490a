"""Failures of a user's making."""


class Failure(Exception):  # noqa: N818 (what went wrong for the user, not a fault of the program)
    """Something that keeps a command from its work: one line that names the path, what failed and what to do."""
