ANALYZE pg_temp.staged_link
