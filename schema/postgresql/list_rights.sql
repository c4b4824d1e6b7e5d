SELECT r.table_name, 'DO ' || quote_literal('BEGIN ' || r.statement || '; END') AS statement
FROM (
  SELECT n.table_name, c.oid, c.relname, c.relowner, c.relacl
  FROM (VALUES ('policy', ARRAY['policy']), ('policy_rule', ARRAY['policy_rule']), ('ep_link', ARRAY['ep_link']),
    ('group_member', ARRAY['group_member', 'ep_link']), ('policy_revision', ARRAY['policy_revision']))
    AS n (table_name, sources)
  CROSS JOIN LATERAL (
    SELECT k.* FROM pg_catalog.pg_class k
    WHERE k.relnamespace = to_regnamespace(quote_ident(current_schema())) AND k.relname = ANY (n.sources)
    ORDER BY array_position(n.sources, k.relname::text) LIMIT 1) AS c
) AS t
CROSS JOIN LATERAL (
  SELECT 1 AS step, t.table_name, format('ALTER TABLE %%I OWNER TO %%I', t.table_name, pg_get_userbyid(t.relowner))
  UNION ALL
  SELECT 1, 'policy_change', format(f.alter, pg_get_userbyid(t.relowner))
  FROM (VALUES ('ALTER TABLE policy_change OWNER TO %%I'), ('ALTER FUNCTION policy_change_note() OWNER TO %%I'),
    ('ALTER FUNCTION policy_revision_raise() OWNER TO %%I')) AS f (alter)
  WHERE t.table_name = 'policy_revision'
  UNION ALL
  SELECT 2, t.table_name, format('GRANT %%s ON %%I TO %%s%%s', a.privilege_type, t.table_name,
    CASE a.grantee WHEN 0 THEN 'PUBLIC' ELSE quote_ident(pg_get_userbyid(a.grantee)) END,
    CASE WHEN a.is_grantable THEN ' WITH GRANT OPTION' ELSE '' END)
  FROM aclexplode(t.relacl) AS a
  WHERE a.grantee <> t.relowner
  UNION ALL
  SELECT 2, t.table_name, format('GRANT %%s (%%I) ON %%I TO %%s%%s', a.privilege_type, d.attname, t.table_name,
    CASE a.grantee WHEN 0 THEN 'PUBLIC' ELSE quote_ident(pg_get_userbyid(a.grantee)) END,
    CASE WHEN a.is_grantable THEN ' WITH GRANT OPTION' ELSE '' END)
  FROM pg_catalog.pg_attribute d CROSS JOIN LATERAL aclexplode(d.attacl) AS a
  WHERE d.attrelid = t.oid AND t.relname = t.table_name AND NOT d.attisdropped
) AS r (step, table_name, statement)
ORDER BY r.step, r.table_name
