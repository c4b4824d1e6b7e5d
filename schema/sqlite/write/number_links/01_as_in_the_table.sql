INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT u.number, k.link_id, u.entity_type, u.entity_name, u.policy_id, u.priority
FROM (
  SELECT u.number, MIN(l.link_id) AS link_id
  FROM ep_link l
  CROSS JOIN temp.staged_link_by_name u ON u.entity_name = l.entity_name AND u.entity_type = l.entity_type
  AND u.policy_id = l.policy_id
  WHERE NOT EXISTS (SELECT 1 FROM temp.staged_link s WHERE s.link_id = l.link_id)
  GROUP BY u.number) AS k
JOIN temp.staged_link_by_name u ON u.number = k.number
