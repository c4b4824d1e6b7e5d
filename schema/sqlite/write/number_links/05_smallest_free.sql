INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT u.number, (
    SELECT f.first + n.place - 1 - f.before FROM temp.free_link_id f WHERE f.before < n.place
    ORDER BY f.before DESC LIMIT 1),
  u.entity_type, u.entity_name, u.policy_id, u.priority
FROM (
  SELECT n.number, n.place - (
      SELECT COUNT(*) FROM temp.new_link d JOIN temp.staged_link s ON s.number = d.number) AS place
  FROM temp.new_link n
  WHERE EXISTS (SELECT 1 FROM temp.free_link_id)
    AND NOT EXISTS (SELECT 1 FROM temp.staged_link s WHERE s.number = n.number)) AS n
JOIN temp.staged_link_by_name u ON u.number = n.number
