DELETE FROM %1$s
WHERE (%9$s) IN (SELECT %9$s FROM temp.staged_%2$s)
