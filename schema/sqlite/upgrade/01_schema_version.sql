UPDATE policy_revision SET schema_version = 2
