#pragma once

#include <cstdint>
#include <optional>

#include "policy/ZrEPLink.h"

namespace zrhost {

// A link that knows which row of ep_link it was; answers have no need of that, so caches hold plain links unless
// LoadOptions::keepLinkIds asks for these.
class SqlLink : public ZrEPLink {
 public:
  explicit SqlLink(std::int32_t linkId) : m_linkId(linkId) {}

  const std::int32_t m_linkId;
};

// Nothing for a link that is no SqlLink, as the cache's default link.
inline std::optional<std::int32_t> linkIdOf(const ZrEPLink& link) {
  const auto* row = dynamic_cast<const SqlLink*>(&link);
  return row != nullptr ? std::optional(row->m_linkId) : std::nullopt;
}

}  // namespace zrhost
