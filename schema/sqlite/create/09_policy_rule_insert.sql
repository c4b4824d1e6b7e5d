CREATE TRIGGER policy_rule_insert AFTER INSERT ON policy_rule
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
