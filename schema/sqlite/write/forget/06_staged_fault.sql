DROP TABLE temp.staged_fault
