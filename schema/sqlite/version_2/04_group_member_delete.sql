CREATE TRIGGER group_member_delete AFTER DELETE ON group_member
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
