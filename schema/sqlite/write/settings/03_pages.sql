PRAGMA main.cache_size = -16384
