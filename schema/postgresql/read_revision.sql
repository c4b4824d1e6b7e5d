SELECT r.epoch,
  r.revision,
  r.schema_version,
  set_config('client_encoding',
    CASE current_setting('server_encoding') WHEN 'SQL_ASCII' THEN 'SQL_ASCII' ELSE 'UTF8' END, true) AS text_encoding
FROM policy_revision r
