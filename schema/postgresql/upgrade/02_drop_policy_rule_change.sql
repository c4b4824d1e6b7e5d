DROP TRIGGER IF EXISTS policy_rule_change ON policy_rule
