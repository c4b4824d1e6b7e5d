CREATE INDEX IF NOT EXISTS temp.staged_link_by_name_key ON staged_link_by_name (entity_name, entity_type, policy_id)
