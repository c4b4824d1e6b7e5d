SET LOCAL lock_timeout = '700ms'
