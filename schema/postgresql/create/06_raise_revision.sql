CREATE OR REPLACE FUNCTION policy_revision_raise() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER SET search_path = %s, pg_temp
AS $$
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
  RETURN NULL;
END
$$
