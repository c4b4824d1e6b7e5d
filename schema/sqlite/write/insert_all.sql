INSERT INTO %1$s (%4$s)
SELECT %5$s
FROM temp.staged_%2$s s
ORDER BY %9$s
