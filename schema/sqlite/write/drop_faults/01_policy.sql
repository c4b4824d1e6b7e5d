DELETE FROM temp.staged_policy WHERE number IN (SELECT number FROM temp.staged_fault)
