SELECT quote_ident(current_schema()) AS schema_name
