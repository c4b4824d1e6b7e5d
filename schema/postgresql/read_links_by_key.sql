SELECT l.link_id,
  l.entity_type,
  l.entity_name,
  l.policy_id,
  l.priority
FROM ep_link l
ORDER BY l.link_id
