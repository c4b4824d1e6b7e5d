CREATE TEMP TABLE staged_policy ON COMMIT DROP AS
SELECT 0::BIGINT AS number, policy_id, policy_type, policy_name, is_default
FROM policy
WITH NO DATA
