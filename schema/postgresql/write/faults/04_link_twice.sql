INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'link', f.number
FROM (
  SELECT link_id, MIN(number) AS number
  FROM pg_temp.staged_link
  GROUP BY link_id
  HAVING COUNT(*) > 1) AS f
JOIN pg_temp.staged_link s
  ON s.link_id = f.link_id
WHERE s.number > f.number
ON CONFLICT DO NOTHING
