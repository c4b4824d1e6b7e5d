CREATE TABLE ep_link (
  link_id INTEGER NOT NULL,
  entity_type INTEGER NOT NULL CHECK (entity_type BETWEEN 1 AND 6),
  entity_name TEXT NOT NULL,
  policy_id INTEGER NOT NULL REFERENCES policy (policy_id),
  priority INTEGER NOT NULL,
  PRIMARY KEY (link_id)
)
