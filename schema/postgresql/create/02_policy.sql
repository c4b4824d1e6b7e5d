CREATE TABLE policy (
  policy_id INTEGER NOT NULL,
  policy_type INTEGER NOT NULL,
  policy_name TEXT NOT NULL,
  is_default INTEGER DEFAULT 0 NOT NULL CHECK (is_default IN (0, 1)),
  PRIMARY KEY (policy_id)
)
