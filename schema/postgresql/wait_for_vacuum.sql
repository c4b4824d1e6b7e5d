SET LOCAL lock_timeout = '1300ms'
