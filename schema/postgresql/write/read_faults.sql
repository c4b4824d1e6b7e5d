SELECT f.number, f.kind, f.staged, f.earlier
FROM pg_temp.staged_fault f
ORDER BY f.number
