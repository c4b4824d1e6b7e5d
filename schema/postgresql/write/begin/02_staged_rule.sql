CREATE TEMP TABLE staged_rule ON COMMIT DROP AS
SELECT 0::BIGINT AS number, policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action
FROM policy_rule
WITH NO DATA
