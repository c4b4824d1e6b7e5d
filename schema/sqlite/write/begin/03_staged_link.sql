CREATE TEMP TABLE staged_link (
  number INTEGER NOT NULL,
  link_id INTEGER NOT NULL,
  entity_type INTEGER NOT NULL,
  entity_name TEXT NOT NULL,
  policy_id INTEGER NOT NULL,
  priority INTEGER NOT NULL,
  PRIMARY KEY (number)
)
