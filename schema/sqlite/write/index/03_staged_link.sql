CREATE INDEX IF NOT EXISTS temp.staged_link_key ON staged_link (link_id)
