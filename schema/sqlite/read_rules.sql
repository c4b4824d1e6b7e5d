SELECT COALESCE('=' || r.policy_id, '') AS policy_id,
  COALESCE('=' || r.position, '') AS position,
  COALESCE('=' || r.rule_id, '') AS rule_id,
  COALESCE('=' || r.rule_type, '') AS rule_type,
  COALESCE('=' || r.rule_name, '') AS rule_name,
  COALESCE('=' || r.ldap_setting, '') AS ldap_setting,
  COALESCE('=' || r.action, '') AS action
FROM policy_rule r
ORDER BY CAST(r.policy_id AS INTEGER), CAST(r.position AS INTEGER)
