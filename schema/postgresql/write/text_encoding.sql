SELECT pg_client_encoding() AS text_encoding
