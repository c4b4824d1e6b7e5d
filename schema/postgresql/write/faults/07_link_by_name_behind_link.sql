INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT u.number, 'twice', 'link', MIN(n.number)
FROM pg_temp.staged_link n
JOIN pg_temp.staged_link_by_name u ON u.entity_name = n.entity_name AND u.entity_type = n.entity_type
  AND u.policy_id = n.policy_id
WHERE EXISTS (SELECT 1 FROM pg_temp.staged_link_by_name) AND n.number < u.number
GROUP BY u.number
ON CONFLICT DO NOTHING
