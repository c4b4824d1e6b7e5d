DROP TRIGGER IF EXISTS ep_link_change ON ep_link
