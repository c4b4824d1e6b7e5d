SELECT COALESCE('=' || l.link_id, '') AS link_id,
  COALESCE('=' || l.entity_type, '') AS entity_type,
  COALESCE('=' || l.entity_name, '') AS entity_name,
  COALESCE('=' || l.policy_id, '') AS policy_id,
  COALESCE('=' || l.priority, '') AS priority
FROM ep_link l
ORDER BY CAST(l.priority AS INTEGER), CAST(l.link_id AS INTEGER)
