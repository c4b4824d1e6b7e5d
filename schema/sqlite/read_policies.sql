SELECT COALESCE('=' || p.policy_id, '') AS policy_id,
  COALESCE('=' || p.policy_type, '') AS policy_type,
  COALESCE('=' || p.policy_name, '') AS policy_name,
  COALESCE('=' || p.is_default, '') AS is_default
FROM policy p
ORDER BY CAST(p.policy_id AS INTEGER)
