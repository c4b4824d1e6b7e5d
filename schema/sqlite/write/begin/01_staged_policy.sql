CREATE TEMP TABLE staged_policy (
  number INTEGER NOT NULL,
  policy_id INTEGER NOT NULL,
  policy_type INTEGER NOT NULL,
  policy_name TEXT NOT NULL,
  is_default INTEGER NOT NULL,
  PRIMARY KEY (number)
)
