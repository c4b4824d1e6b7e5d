INSERT INTO pg_temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT n.number, n.link_id, n.entity_type, n.entity_name, n.policy_id, n.priority
FROM (
  SELECT u.number, m.link_id + ROW_NUMBER() OVER (ORDER BY u.number) AS link_id, u.entity_type, u.entity_name,
    u.policy_id, u.priority
  FROM pg_temp.staged_link_by_name u
  CROSS JOIN (
    SELECT GREATEST(0, COALESCE((SELECT MAX(link_id) FROM ep_link), 0),
      COALESCE((SELECT MAX(link_id) FROM pg_temp.staged_link), 0)) AS link_id) AS m) AS n
WHERE n.link_id <= 2147483647
