DROP TABLE temp.staged_member
