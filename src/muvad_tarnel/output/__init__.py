"""Reports and their formats: plain text, tables on a terminal, JSON."""
