DELETE FROM pg_temp.staged_policy WHERE number IN (SELECT number FROM pg_temp.staged_fault)
