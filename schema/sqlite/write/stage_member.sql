WITH staged (number, group_name, user_name) AS (VALUES %s)
INSERT INTO temp.staged_member (number, group_name, user_name)
SELECT * FROM staged
