CREATE TEMP TABLE new_link (
  place INTEGER NOT NULL,
  number INTEGER NOT NULL,
  PRIMARY KEY (place)
)
