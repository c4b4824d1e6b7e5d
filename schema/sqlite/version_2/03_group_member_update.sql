CREATE TRIGGER group_member_update AFTER UPDATE ON group_member
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
