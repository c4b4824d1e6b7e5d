SELECT CAST(p.policy_id AS TEXT) AS policy_id,
  CAST(p.policy_type AS TEXT) AS policy_type,
  CAST(p.policy_name AS TEXT) AS policy_name,
  CAST(p.is_default AS TEXT) AS is_default
FROM policy p
ORDER BY CAST(p.policy_id AS INTEGER)
