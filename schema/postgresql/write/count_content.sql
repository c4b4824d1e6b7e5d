SELECT (SELECT COUNT(*) FROM ep_link) AS links, (SELECT COUNT(*) FROM policy WHERE is_default = 1) AS default_policies
