SELECT c.relname AS table_name,
  CASE WHEN c.relkind IN ('r', 'p') THEN 'table' ELSE 'other' END AS table_kind
FROM pg_catalog.pg_class c
WHERE c.relnamespace = to_regnamespace(quote_ident(current_schema()))
  AND c.relname IN ('policy', 'policy_rule', 'ep_link', 'group_member', 'policy_revision', 'policy_change')
ORDER BY c.relname
