DELETE FROM temp.staged_fault
