CREATE TRIGGER ep_link_update AFTER UPDATE ON ep_link
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
