CREATE TEMP TABLE free_link_id (
  before INTEGER NOT NULL,
  first INTEGER NOT NULL,
  PRIMARY KEY (before)
)
