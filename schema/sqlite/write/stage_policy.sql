WITH staged (number, policy_id, policy_type, policy_name, is_default) AS (VALUES %s)
INSERT INTO temp.staged_policy (number, policy_id, policy_type, policy_name, is_default)
SELECT * FROM staged
