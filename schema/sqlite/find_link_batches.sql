SELECT count(*) AS may_batch
FROM pragma_table_info('ep_link') c
WHERE lower(c.name) = 'link_id'
  AND c.pk = 1
  AND NOT EXISTS (SELECT 1 FROM pragma_table_info('ep_link') o WHERE o.pk > 1)
  AND NOT EXISTS (SELECT 1 FROM pragma_index_list('ep_link') i WHERE i.origin = 'pk')
  AND (SELECT e.encoding FROM pragma_encoding e) = 'UTF-8'
