CREATE TRIGGER policy_delete AFTER DELETE ON policy
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
