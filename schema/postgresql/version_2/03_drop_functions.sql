DROP FUNCTION IF EXISTS policy_revision_raise(), policy_change_note()
