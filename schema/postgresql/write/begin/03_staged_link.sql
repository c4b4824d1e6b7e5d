CREATE TEMP TABLE staged_link ON COMMIT DROP AS
SELECT 0::BIGINT AS number, link_id, entity_type, entity_name, policy_id, priority
FROM ep_link
WITH NO DATA
