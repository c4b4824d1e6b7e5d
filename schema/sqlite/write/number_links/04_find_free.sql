INSERT INTO temp.free_link_id (before, first)
SELECT SUM(g.size) OVER (ORDER BY g.first) - g.size, g.first
FROM (
  SELECT i.link_id + 1 AS first, LEAD(i.link_id) OVER (ORDER BY i.link_id) - i.link_id - 1 AS size
  FROM (
    SELECT 0 AS link_id
    UNION SELECT link_id FROM (SELECT link_id FROM ep_link UNION ALL SELECT link_id FROM temp.staged_link) AS a
    WHERE a.link_id > 0 AND (
      EXISTS (SELECT 1 FROM ep_link WHERE link_id = 2147483647)
      OR EXISTS (SELECT 1 FROM temp.staged_link WHERE link_id = 2147483647))) AS i) AS g
WHERE g.size > 0
