"""What commands have to say, and how it is said: as plain text, as tables on a terminal, as JSON."""
