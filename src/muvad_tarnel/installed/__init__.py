"""The installed copies: reading them, finding their readers, changing them safely. Independent of options."""
