DROP TABLE temp.staged_link_by_name
