CREATE INDEX IF NOT EXISTS temp.staged_rule_key ON staged_rule (policy_id, position)
