CREATE TEMP TABLE staged_member ON COMMIT DROP AS
SELECT 0::BIGINT AS number, group_name, user_name
FROM group_member
WITH NO DATA
