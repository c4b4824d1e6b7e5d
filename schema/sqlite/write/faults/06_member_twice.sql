INSERT OR IGNORE INTO temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'member', f.number
FROM (
  SELECT group_name, user_name, MIN(number) AS number
  FROM temp.staged_member
  GROUP BY group_name, user_name
  HAVING COUNT(*) > 1) AS f
CROSS JOIN temp.staged_member s
  ON s.group_name = f.group_name AND s.user_name = f.user_name
WHERE s.number > f.number
