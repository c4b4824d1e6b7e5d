SELECT 'main' AS schema_name
