DROP TABLE pg_temp.staged_link
