INSERT INTO pg_temp.staged_member (number, group_name, user_name)
SELECT * FROM unnest(
  convert_from(%1$s, pg_client_encoding())::BIGINT[],
  convert_from(%1$s, pg_client_encoding())::TEXT[],
  convert_from(%1$s, pg_client_encoding())::TEXT[])
