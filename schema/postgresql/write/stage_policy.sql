INSERT INTO pg_temp.staged_policy (number, policy_id, policy_type, policy_name, is_default)
SELECT * FROM unnest(
  convert_from(%1$s, pg_client_encoding())::BIGINT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::TEXT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[])
