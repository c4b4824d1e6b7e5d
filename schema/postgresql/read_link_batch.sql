SELECT string_agg(b.line, '') AS lines
FROM (
  SELECT CASE
    WHEN length(l.entity_name) <= 255 AND strpos(l.entity_name, chr(30)) = 0
    THEN l.link_id || ',' || l.entity_type || ',' || l.policy_id || ',' || l.priority || ',' || l.entity_name || chr(30)
    ELSE chr(30) END AS line
  FROM ep_link l
  WHERE l.link_id >= '%s'::bigint
  ORDER BY l.link_id
  LIMIT %d
) b
