DROP TABLE temp.staged_policy
