SELECT 'any' AS text_encoding
