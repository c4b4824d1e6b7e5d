INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'unknown policy', 'link', 0
FROM pg_temp.staged_link s
WHERE NOT EXISTS (SELECT 1 FROM pg_temp.staged_policy p WHERE p.policy_id = s.policy_id)
  AND NOT EXISTS (SELECT 1 FROM policy t WHERE t.policy_id = s.policy_id)
ON CONFLICT DO NOTHING
