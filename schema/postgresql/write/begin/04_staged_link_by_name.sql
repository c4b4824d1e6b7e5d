CREATE TEMP TABLE staged_link_by_name ON COMMIT DROP AS
SELECT 0::BIGINT AS number, entity_type, entity_name, policy_id, priority
FROM ep_link
WITH NO DATA
