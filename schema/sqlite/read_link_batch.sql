SELECT group_concat(b.line, '') AS lines
FROM (
  SELECT CASE
    WHEN typeof(l.entity_name) = 'text' AND length(l.entity_name) <= 255 AND instr(l.entity_name, char(30)) = 0
      AND typeof(l.entity_type) = 'integer' AND typeof(l.policy_id) = 'integer' AND typeof(l.priority) = 'integer'
    THEN printf('%%d,%%d,%%d,%%d,%%s%%s', l.link_id, l.entity_type, l.policy_id, l.priority, l.entity_name, char(30))
    ELSE char(30) END AS line
  FROM ep_link l
  WHERE l.link_id >= %s
  ORDER BY l.link_id
  LIMIT %d
) b
