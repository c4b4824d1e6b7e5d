CREATE TEMP TABLE staged_rule (
  number INTEGER NOT NULL,
  policy_id INTEGER NOT NULL,
  position INTEGER NOT NULL,
  rule_id INTEGER NOT NULL,
  rule_type INTEGER NOT NULL,
  rule_name TEXT NOT NULL,
  ldap_setting INTEGER NOT NULL,
  action TEXT NOT NULL,
  PRIMARY KEY (number)
)
