DELETE FROM pg_temp.staged_link WHERE number IN (SELECT number FROM pg_temp.staged_fault)
