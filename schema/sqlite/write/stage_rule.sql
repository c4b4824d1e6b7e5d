WITH staged (number, policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action) AS (VALUES %s)
INSERT INTO temp.staged_rule (number, policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action)
SELECT * FROM staged
