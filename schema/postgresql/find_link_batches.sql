SELECT count(*) AS may_batch
FROM pg_catalog.pg_class t
WHERE t.oid = to_regclass('ep_link')
  AND t.relkind = 'r'
  AND NOT t.relhassubclass
  AND 4 = (
    SELECT count(*)
    FROM pg_catalog.pg_attribute a
    WHERE a.attrelid = t.oid
      AND a.attname IN ('link_id', 'entity_type', 'policy_id', 'priority')
      AND a.atttypid = 'pg_catalog.int4'::regtype
      AND a.attnotnull)
  AND EXISTS (
    SELECT 1
    FROM pg_catalog.pg_attribute a
    WHERE a.attrelid = t.oid
      AND a.attname = 'entity_name'
      AND a.atttypid IN ('pg_catalog.text'::regtype, 'pg_catalog.varchar'::regtype))
  AND EXISTS (
    SELECT 1
    FROM pg_catalog.pg_index i
    JOIN pg_catalog.pg_attribute a ON a.attrelid = i.indrelid AND a.attnum = i.indkey[0]
    WHERE i.indrelid = t.oid
      AND a.attname = 'link_id'
      AND i.indisprimary
      AND i.indisvalid
      AND i.indnkeyatts = 1)
