"""A home and a current directory for each test."""

from own_places import home, project

__all__ = ["home", "project"]
