DELETE FROM ep_link WHERE link_id IN (
  SELECT l.link_id
  FROM ep_link l
  CROSS JOIN temp.staged_link_by_name u ON u.entity_name = l.entity_name AND u.entity_type = l.entity_type
  AND u.policy_id = l.policy_id)
