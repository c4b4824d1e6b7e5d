SELECT CASE
    WHEN NOT pg_is_in_recovery() THEN NULL
    WHEN pg_last_wal_receive_lsn() = pg_last_wal_replay_lsn() AND EXISTS (SELECT 1 FROM pg_stat_wal_receiver) THEN 0
    ELSE greatest(0, floor(extract(epoch FROM clock_timestamp() - pg_last_xact_replay_timestamp()) * 1000))
  END::bigint AS standby_lag
