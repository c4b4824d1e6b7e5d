DROP TABLE temp.new_link
