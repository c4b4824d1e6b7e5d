DROP TRIGGER IF EXISTS policy_change ON policy
