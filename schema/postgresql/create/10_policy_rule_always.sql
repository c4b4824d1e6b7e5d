ALTER TABLE policy_rule ENABLE ALWAYS TRIGGER policy_rule_change
