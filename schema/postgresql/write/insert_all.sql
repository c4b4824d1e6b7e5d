INSERT INTO %1$s (%4$s)
SELECT %5$s
FROM pg_temp.staged_%2$s s
