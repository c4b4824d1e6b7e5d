DO $$
DECLARE
  content TEXT;
BEGIN
  FOREACH content IN ARRAY ARRAY['policy', 'policy_rule', 'ep_link', 'group_member'] LOOP
    EXECUTE format('CREATE TRIGGER %%I BEFORE INSERT OR UPDATE OR DELETE OR TRUNCATE ON %%I
      FOR EACH STATEMENT EXECUTE FUNCTION policy_change_note()', content || '_note', content);
    EXECUTE format('ALTER TABLE %%I ENABLE ALWAYS TRIGGER %%I', content, content || '_note');
    EXECUTE format('CREATE TRIGGER %%I AFTER INSERT OR UPDATE OR DELETE ON %%I FOR EACH ROW
      WHEN (current_setting(''zrpolicy.noted_transaction'', true) IS DISTINCT FROM pg_current_xact_id()::text)
      EXECUTE FUNCTION policy_change_note()', content || '_note_replicated', content);
    EXECUTE format('ALTER TABLE %%I ENABLE REPLICA TRIGGER %%I', content, content || '_note_replicated');
  END LOOP;
END
$$
