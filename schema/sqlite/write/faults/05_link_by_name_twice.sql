INSERT OR IGNORE INTO temp.staged_fault (number, kind, staged, earlier)
SELECT s.number, 'twice', 'link', f.number
FROM (
  SELECT entity_name, entity_type, policy_id, MIN(number) AS number
  FROM temp.staged_link_by_name
  GROUP BY entity_name, entity_type, policy_id
  HAVING COUNT(*) > 1) AS f
CROSS JOIN temp.staged_link_by_name s
  ON s.entity_name = f.entity_name AND s.entity_type = f.entity_type AND s.policy_id = f.policy_id
WHERE s.number > f.number
