SELECT COALESCE(quote_ident(current_schema()), '') AS schema_name,
  quote_ident(current_user) AS user_name,
  CASE WHEN has_schema_privilege(current_schema(), 'CREATE') THEN 1 ELSE 0 END AS may_create
