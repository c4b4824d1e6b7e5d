SELECT (SELECT COUNT(*) FROM %1$s) AS table_rows,
  COUNT(*) AS staged_rows,
  COUNT(*) FILTER (WHERE t.%7$s IS NULL) AS new_rows,
  COUNT(*) FILTER (WHERE t.%7$s IS NOT NULL AND (%5$s) IS DISTINCT FROM (%6$s)) AS different_rows
FROM pg_temp.staged_%2$s s
LEFT JOIN %1$s t ON %3$s
