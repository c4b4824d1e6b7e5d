DELETE FROM temp.staged_rule WHERE number IN (SELECT number FROM temp.staged_fault)
