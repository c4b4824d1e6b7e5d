CREATE TEMP TABLE staged_fault (
  number BIGINT NOT NULL,
  kind TEXT NOT NULL,
  staged TEXT NOT NULL,
  earlier BIGINT NOT NULL,
  PRIMARY KEY (number)
) ON COMMIT DROP
