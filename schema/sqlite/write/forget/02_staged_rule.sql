DROP TABLE temp.staged_rule
