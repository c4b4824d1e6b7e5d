DELETE FROM pg_temp.staged_fault
