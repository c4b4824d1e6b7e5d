SELECT COALESCE('=' || m.group_name, '') AS group_name,
  COALESCE('=' || m.user_name, '') AS user_name
FROM group_member m
ORDER BY m.group_name, m.user_name
