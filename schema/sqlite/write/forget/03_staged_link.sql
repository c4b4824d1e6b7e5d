DROP TABLE temp.staged_link
