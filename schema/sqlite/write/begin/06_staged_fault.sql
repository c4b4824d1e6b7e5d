CREATE TEMP TABLE staged_fault (
  number INTEGER NOT NULL,
  kind TEXT NOT NULL,
  staged TEXT NOT NULL,
  earlier INTEGER NOT NULL,
  PRIMARY KEY (number)
)
