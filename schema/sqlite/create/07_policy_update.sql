CREATE TRIGGER policy_update AFTER UPDATE ON policy
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
