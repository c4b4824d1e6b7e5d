CREATE TRIGGER ep_link_delete AFTER DELETE ON ep_link
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
