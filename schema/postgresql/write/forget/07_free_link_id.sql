DROP TABLE pg_temp.free_link_id
