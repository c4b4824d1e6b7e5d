INSERT OR IGNORE INTO temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'unknown policy', 'link', 0
FROM temp.staged_link s
WHERE NOT EXISTS (SELECT 1 FROM temp.staged_policy p WHERE p.policy_id = s.policy_id)
