INSERT INTO temp.staged_member (number, group_name, user_name)
VALUES %s
