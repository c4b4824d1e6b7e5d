%s
