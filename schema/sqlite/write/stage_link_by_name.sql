WITH staged (number, entity_type, entity_name, policy_id, priority) AS (VALUES %s)
INSERT INTO temp.staged_link_by_name (number, entity_type, entity_name, policy_id, priority)
SELECT * FROM staged
