SELECT r.policy_id,
  r.position,
  r.rule_id,
  r.rule_type,
  r.rule_name,
  r.ldap_setting,
  r.action
FROM policy_rule r
ORDER BY r.policy_id, r.position
