CREATE INDEX IF NOT EXISTS temp.staged_policy_key ON staged_policy (policy_id)
