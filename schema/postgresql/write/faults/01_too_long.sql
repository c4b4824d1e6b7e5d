INSERT INTO pg_temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'too long', 'member', 0
FROM pg_temp.staged_member s
WHERE octet_length(s.group_name) + octet_length(s.user_name) > 2600
