CREATE TABLE policy_rule (
  policy_id INTEGER NOT NULL REFERENCES policy (policy_id),
  position INTEGER NOT NULL,
  rule_id INTEGER NOT NULL,
  rule_type INTEGER NOT NULL,
  rule_name TEXT NOT NULL,
  ldap_setting INTEGER DEFAULT 0 NOT NULL CHECK (ldap_setting IN (0, 1)),
  action TEXT NOT NULL,
  PRIMARY KEY (policy_id, position)
)
