SELECT COALESCE('=' || r.epoch, '') AS epoch,
  COALESCE('=' || r.revision, '') AS revision,
  COALESCE('=' || r.schema_version, '') AS schema_version
FROM policy_revision r
