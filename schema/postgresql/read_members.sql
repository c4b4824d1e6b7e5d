SELECT m.group_name,
  m.user_name
FROM group_member m
ORDER BY m.group_name COLLATE "C", m.user_name COLLATE "C"
