INSERT OR IGNORE INTO temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'unknown policy', 'rule', 0
FROM temp.staged_rule s
WHERE NOT EXISTS (SELECT 1 FROM temp.staged_policy p WHERE p.policy_id = s.policy_id)
