DELETE FROM pg_temp.staged_rule WHERE number IN (SELECT number FROM pg_temp.staged_fault)
