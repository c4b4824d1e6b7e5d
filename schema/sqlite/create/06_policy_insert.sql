CREATE TRIGGER policy_insert AFTER INSERT ON policy
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
