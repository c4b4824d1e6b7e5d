INSERT INTO temp.staged_link (number, link_id, entity_type, entity_name, policy_id, priority)
VALUES %s
