PRAGMA temp.cache_size = -16384
