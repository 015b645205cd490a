"""What is installed on the disk, who finds it, and how it is changed safely. Knows nothing of options."""
