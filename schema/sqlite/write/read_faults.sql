SELECT f.number, f.kind, f.staged, f.earlier
FROM temp.staged_fault f
ORDER BY f.number
