INSERT OR IGNORE INTO temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'link', f.number
FROM (
  SELECT link_id, MIN(number) AS number
  FROM temp.staged_link
  GROUP BY link_id
  HAVING COUNT(*) > 1) AS f
CROSS JOIN temp.staged_link s
  ON s.link_id = f.link_id
WHERE s.number > f.number
