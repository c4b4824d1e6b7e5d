SELECT c.relname AS table_name,
  CASE WHEN c.relkind IN ('r', 'p') THEN 'table' ELSE 'other' END AS table_kind
FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace
WHERE n.nspname = current_schema() AND c.relname IN ('policy', 'policy_rule', 'ep_link', 'policy_revision')
ORDER BY c.relname
