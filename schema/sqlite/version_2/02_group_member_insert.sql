CREATE TRIGGER group_member_insert AFTER INSERT ON group_member
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
