DELETE FROM pg_temp.staged_link_by_name WHERE number IN (SELECT number FROM pg_temp.staged_fault)
