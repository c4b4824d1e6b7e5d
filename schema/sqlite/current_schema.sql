SELECT 'main' AS schema_name, '' AS user_name, 1 AS may_create
