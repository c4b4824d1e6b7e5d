INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT u.number, m.link_id + n.place, u.entity_type, u.entity_name, u.policy_id, u.priority
FROM (
  SELECT MAX(0, COALESCE((SELECT MAX(link_id) FROM ep_link), 0),
    COALESCE((SELECT MAX(link_id) FROM temp.staged_link), 0)) AS link_id) AS m
CROSS JOIN temp.new_link n
CROSS JOIN temp.staged_link_by_name u ON u.number = n.number
WHERE m.link_id + n.place <= 2147483647
