CREATE TABLE group_member (
  group_name TEXT COLLATE "C" NOT NULL,
  user_name TEXT COLLATE "C" NOT NULL,
  CONSTRAINT group_member_pkey PRIMARY KEY (group_name, user_name),
  CONSTRAINT the_two_names_have_at_most_2600_bytes CHECK (octet_length(group_name) + octet_length(user_name) <= 2600)
)
