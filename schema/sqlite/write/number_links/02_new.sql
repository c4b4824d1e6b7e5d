INSERT INTO temp.new_link (number)
SELECT u.number
FROM temp.staged_link_by_name u
WHERE NOT EXISTS (SELECT 1 FROM temp.staged_link s WHERE s.number = u.number)
ORDER BY u.number
