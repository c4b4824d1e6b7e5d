SELECT COUNT(*) AS row_count FROM %s
