DROP TABLE pg_temp.new_link
