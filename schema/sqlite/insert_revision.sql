INSERT INTO policy_revision (epoch, revision, schema_version) VALUES ('%s', 0, %d)
