CREATE INDEX IF NOT EXISTS temp.staged_member_key ON staged_member (group_name, user_name)
