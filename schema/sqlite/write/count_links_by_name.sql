SELECT COUNT(DISTINCT l.link_id) AS link_count,
  (SELECT COUNT(*) FROM temp.staged_link_by_name) - COUNT(DISTINCT u.number) AS missing_rows
FROM ep_link l
CROSS JOIN temp.staged_link_by_name u ON u.entity_name = l.entity_name AND u.entity_type = l.entity_type
  AND u.policy_id = l.policy_id
