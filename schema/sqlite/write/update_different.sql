UPDATE %1$s AS t SET %8$s
FROM temp.staged_%2$s s
WHERE %3$s AND (%5$s) IS NOT (%6$s)
