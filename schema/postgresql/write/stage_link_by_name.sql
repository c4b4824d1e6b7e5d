INSERT INTO pg_temp.staged_link_by_name (number, entity_type, entity_name, policy_id, priority)
SELECT * FROM unnest(
  convert_from(%1$s, pg_client_encoding())::BIGINT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::TEXT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[])
