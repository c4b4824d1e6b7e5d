CREATE TRIGGER ep_link_insert AFTER INSERT ON ep_link
BEGIN
  UPDATE policy_revision SET revision = revision + 1;
END
