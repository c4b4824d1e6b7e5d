SELECT name AS table_name, type AS table_kind
FROM sqlite_master
WHERE type IN ('table', 'view') AND lower(name) IN ('policy', 'policy_rule', 'ep_link', 'group_member', 'policy_revision')
ORDER BY name
