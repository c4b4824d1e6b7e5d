INSERT INTO group_member (group_name, user_name) VALUES
('board', 'mary@example.org'),
('engineering', 'john@example.org'),
('finance', 'mary@example.org'),
('guests', 'intern@example.org'),
('sales', 'john@example.org')
