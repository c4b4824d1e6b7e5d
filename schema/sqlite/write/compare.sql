SELECT (SELECT COUNT(*) FROM %1$s) AS table_rows,
  COUNT(*) AS staged_rows,
  COALESCE(SUM(t.%7$s IS NULL), 0) AS new_rows,
  COALESCE(SUM(t.%7$s IS NOT NULL AND (%5$s) IS NOT (%6$s)), 0) AS different_rows
FROM temp.staged_%2$s s
LEFT JOIN %1$s t ON %3$s
