INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'unknown policy', 'rule', 0
FROM pg_temp.staged_rule s
WHERE NOT EXISTS (SELECT 1 FROM pg_temp.staged_policy p WHERE p.policy_id = s.policy_id)
ON CONFLICT DO NOTHING
