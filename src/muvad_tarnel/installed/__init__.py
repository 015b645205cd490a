"""What is installed where, who reads it, and what could be done about it. Knows nothing of options."""
