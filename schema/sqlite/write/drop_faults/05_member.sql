DELETE FROM temp.staged_member WHERE number IN (SELECT number FROM temp.staged_fault)
