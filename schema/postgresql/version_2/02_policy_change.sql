CREATE UNLOGGED TABLE policy_change (
  transaction_id XID8 NOT NULL,
  CONSTRAINT policy_change_pkey PRIMARY KEY (transaction_id)
)
