INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT DISTINCT p.number, 'still used', 'policy', 0
FROM pg_temp.staged_policy p
JOIN policy_rule r ON r.policy_id = p.policy_id
WHERE NOT EXISTS (
  SELECT 1 FROM pg_temp.staged_rule s WHERE s.policy_id = r.policy_id AND s.position = r.position)
ON CONFLICT DO NOTHING
