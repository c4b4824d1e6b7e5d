REVOKE ALL ON FUNCTION policy_change_note(), policy_revision_raise() FROM PUBLIC
