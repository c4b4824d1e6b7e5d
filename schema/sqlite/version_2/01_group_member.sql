CREATE TABLE group_member (
  group_name TEXT NOT NULL,
  user_name TEXT NOT NULL,
  PRIMARY KEY (group_name, user_name)
) WITHOUT ROWID
