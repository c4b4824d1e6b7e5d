CREATE TABLE policy_revision (
  epoch VARCHAR(64) NOT NULL,
  revision BIGINT NOT NULL CHECK (revision >= 0),
  schema_version INTEGER NOT NULL CHECK (schema_version >= 1),
  PRIMARY KEY (schema_version)
)
