PRAGMA journal_mode = %s
