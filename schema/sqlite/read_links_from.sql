SELECT CAST(l.link_id AS TEXT) AS link_id,
  CAST(l.entity_type AS TEXT) AS entity_type,
  CAST(l.entity_name AS TEXT) AS entity_name,
  CAST(l.policy_id AS TEXT) AS policy_id,
  CAST(l.priority AS TEXT) AS priority
FROM ep_link l
WHERE l.link_id >= %s
ORDER BY l.link_id
LIMIT %d
