CREATE TRIGGER policy_rule_update AFTER UPDATE ON policy_rule
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
