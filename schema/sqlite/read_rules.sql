SELECT CAST(r.policy_id AS TEXT) AS policy_id,
  CAST(r.position AS TEXT) AS position,
  CAST(r.rule_id AS TEXT) AS rule_id,
  CAST(r.rule_type AS TEXT) AS rule_type,
  CAST(r.rule_name AS TEXT) AS rule_name,
  CAST(r.ldap_setting AS TEXT) AS ldap_setting,
  CAST(r.action AS TEXT) AS action
FROM policy_rule r
ORDER BY CAST(r.policy_id AS INTEGER), CAST(r.position AS INTEGER)
