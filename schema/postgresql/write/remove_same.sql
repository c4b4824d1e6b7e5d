DELETE FROM %1$s
WHERE (%9$s) IN (SELECT %9$s FROM pg_temp.staged_%2$s)
