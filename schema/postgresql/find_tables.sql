SELECT quote_ident(n.nspname) AS schema_name,
  CASE WHEN has_schema_privilege(n.oid, 'USAGE') THEN 1 ELSE 0 END AS may_use,
  CASE WHEN n.nspname = ANY (current_schemas(false)) THEN 1 ELSE 0 END AS is_searched
FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace
WHERE c.relname = 'policy_revision' AND c.relkind IN ('r', 'p', 'v')
ORDER BY is_searched DESC, may_use DESC, schema_name
