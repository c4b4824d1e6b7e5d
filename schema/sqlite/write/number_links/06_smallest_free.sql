INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT u.number, (
    SELECT f.first + u.place - 1 - f.before FROM temp.free_link_id f WHERE f.before < u.place
    ORDER BY f.before DESC LIMIT 1),
  u.entity_type, u.entity_name, u.policy_id, u.priority
FROM (
  SELECT number, ROW_NUMBER() OVER (ORDER BY number) AS place, entity_type, entity_name, policy_id, priority
  FROM temp.staged_link_by_name) AS u
