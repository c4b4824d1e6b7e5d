ALTER TABLE policy_change ENABLE ALWAYS TRIGGER policy_change_raise
