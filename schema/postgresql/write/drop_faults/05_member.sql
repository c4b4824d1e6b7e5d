DELETE FROM pg_temp.staged_member WHERE number IN (SELECT number FROM pg_temp.staged_fault)
