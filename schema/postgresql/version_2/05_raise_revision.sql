CREATE FUNCTION policy_revision_raise() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER SET search_path = %s, pg_temp
AS $$
BEGIN
  DELETE FROM policy_change WHERE transaction_id = NEW.transaction_id;
  IF FOUND THEN
    UPDATE policy_revision SET revision = revision + 1;
  END IF;
  RETURN NULL;
END
$$
