SELECT CAST(r.epoch AS TEXT) AS epoch,
  CAST(r.revision AS TEXT) AS revision,
  CAST(r.schema_version AS TEXT) AS schema_version
FROM policy_revision r
