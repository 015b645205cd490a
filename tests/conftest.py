"""Give each test its own home and current directory."""

from own_places import home, project

__all__ = ["home", "project"]
