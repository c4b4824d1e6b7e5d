CREATE TEMP TABLE staged_member (
  number INTEGER NOT NULL,
  group_name TEXT NOT NULL,
  user_name TEXT NOT NULL,
  PRIMARY KEY (number)
)
