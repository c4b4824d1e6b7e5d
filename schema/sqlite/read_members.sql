SELECT CAST(m.group_name AS TEXT) AS group_name,
  CAST(m.user_name AS TEXT) AS user_name
FROM group_member m
ORDER BY m.group_name, m.user_name
