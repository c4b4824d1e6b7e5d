INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'rule', f.number
FROM (
  SELECT policy_id, position, MIN(number) AS number
  FROM pg_temp.staged_rule
  GROUP BY policy_id, position
  HAVING COUNT(*) > 1) AS f
JOIN pg_temp.staged_rule s
  ON s.policy_id = f.policy_id AND s.position = f.position
WHERE s.number > f.number
ON CONFLICT DO NOTHING
