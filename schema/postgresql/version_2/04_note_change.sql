CREATE FUNCTION policy_change_note() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER SET search_path = %s, pg_temp
AS $$
BEGIN
  INSERT INTO policy_change (transaction_id) VALUES (pg_current_xact_id()) ON CONFLICT DO NOTHING;
  IF FOUND THEN
    PERFORM set_config('zrpolicy.noted_transaction', pg_current_xact_id()::text, true);
  END IF;
  RETURN NULL;
END
$$
