DO $$
BEGIN
  PERFORM pg_advisory_xact_lock(hashtext('zrpolicy'), hashtext(current_schema()));
END
$$
