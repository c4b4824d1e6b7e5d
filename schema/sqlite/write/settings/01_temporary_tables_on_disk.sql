PRAGMA temp_store = FILE
