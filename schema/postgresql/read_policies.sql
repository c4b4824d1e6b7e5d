SELECT p.policy_id,
  p.policy_type,
  p.policy_name,
  p.is_default
FROM policy p
ORDER BY p.policy_id
