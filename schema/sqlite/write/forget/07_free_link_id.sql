DROP TABLE temp.free_link_id
