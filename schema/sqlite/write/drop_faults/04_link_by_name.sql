DELETE FROM temp.staged_link_by_name WHERE number IN (SELECT number FROM temp.staged_fault)
