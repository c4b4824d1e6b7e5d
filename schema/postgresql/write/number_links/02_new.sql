INSERT INTO pg_temp.new_link (number, place)
SELECT u.number, ROW_NUMBER() OVER (ORDER BY u.number)
FROM pg_temp.staged_link_by_name u
WHERE NOT EXISTS (SELECT 1 FROM pg_temp.staged_link s WHERE s.number = u.number)
ORDER BY u.number
