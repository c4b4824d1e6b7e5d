INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT DISTINCT p.number, 'still used', 'policy', 0
FROM pg_temp.staged_policy p
JOIN ep_link l ON l.policy_id = p.policy_id
WHERE NOT EXISTS (SELECT 1 FROM pg_temp.staged_link s WHERE s.link_id = l.link_id)
  AND NOT EXISTS (
    SELECT 1 FROM pg_temp.staged_link_by_name u
    WHERE u.entity_name = l.entity_name AND u.entity_type = l.entity_type AND u.policy_id = l.policy_id)
ON CONFLICT DO NOTHING
