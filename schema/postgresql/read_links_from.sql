SELECT l.link_id,
  l.entity_type,
  l.entity_name,
  l.policy_id,
  l.priority
FROM ep_link l
WHERE l.link_id >= '%s'::bigint
ORDER BY l.link_id
LIMIT %d
