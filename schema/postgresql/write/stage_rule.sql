INSERT INTO pg_temp.staged_rule (number, policy_id, position, rule_id, rule_type, rule_name, ldap_setting, action)
SELECT * FROM unnest(
  convert_from(%1$s, pg_client_encoding())::BIGINT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::TEXT[],
  convert_from(%1$s, pg_client_encoding())::INTEGER[],
  convert_from(%1$s, pg_client_encoding())::TEXT[])
