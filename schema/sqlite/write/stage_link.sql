WITH staged (number, link_id, entity_type, entity_name, policy_id, priority) AS (VALUES %s)
INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
SELECT * FROM staged
