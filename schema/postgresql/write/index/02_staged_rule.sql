ANALYZE pg_temp.staged_rule
