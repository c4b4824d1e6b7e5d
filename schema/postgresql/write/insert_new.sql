INSERT INTO %1$s (%4$s)
SELECT %5$s
FROM pg_temp.staged_%2$s s
WHERE NOT EXISTS (SELECT 1 FROM %1$s t WHERE %3$s)
