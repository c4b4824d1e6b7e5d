CREATE TABLE policy_rule (
  policy_id INTEGER NOT NULL REFERENCES policy (policy_id),
  position INTEGER NOT NULL CHECK (position BETWEEN -2147483648 AND 2147483647),
  rule_id INTEGER NOT NULL CHECK (rule_id BETWEEN -2147483648 AND 2147483647),
  rule_type INTEGER NOT NULL CHECK (rule_type BETWEEN -2147483648 AND 2147483647),
  rule_name TEXT NOT NULL,
  ldap_setting INTEGER NOT NULL DEFAULT 0 CHECK (ldap_setting IN (0, 1)),
  action TEXT NOT NULL,
  PRIMARY KEY (policy_id, position)
)
