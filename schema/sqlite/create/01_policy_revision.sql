CREATE TABLE policy_revision (
  epoch TEXT NOT NULL,
  revision INTEGER NOT NULL CHECK (revision >= 0),
  schema_version INTEGER NOT NULL CHECK (schema_version BETWEEN 1 AND 2147483647),
  PRIMARY KEY (schema_version)
)
