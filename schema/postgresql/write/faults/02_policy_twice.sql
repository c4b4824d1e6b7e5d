INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'policy', f.number
FROM (
  SELECT policy_id, MIN(number) AS number
  FROM pg_temp.staged_policy
  GROUP BY policy_id
  HAVING COUNT(*) > 1) AS f
JOIN pg_temp.staged_policy s
  ON s.policy_id = f.policy_id
WHERE s.number > f.number
ON CONFLICT DO NOTHING
