DELETE FROM temp.staged_link WHERE number IN (SELECT number FROM temp.staged_fault)
