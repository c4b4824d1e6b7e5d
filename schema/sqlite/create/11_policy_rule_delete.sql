CREATE TRIGGER policy_rule_delete AFTER DELETE ON policy_rule
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
