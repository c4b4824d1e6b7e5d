CREATE INDEX ep_link_policy ON ep_link (policy_id)
