#pragma once

#include <string>
#include <string_view>

#include "host/load/CacheSink.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// How a cache filed its one link: the link, and the key of a name ("" for addresses). Both are the cache's.
struct FiledLink {
  const ZrEPLink* link = nullptr;
  std::string_view key;
};

// The link of a cache that holds one.
FiledLink onlyLink(const ZrPolicyCache& cache);

// Asks a cache of its own what it makes of an entity, whatever else is wrong with the row.
class LinkJudge {
 public:
  LinkJudge();

  // Loads a link of that entity. False when it is refused.
  bool takes(ZrPolicyCache::EntityType type, std::string_view name);
  // Of the link that was taken last; until the next call.
  FiledLink filed() const { return onlyLink(m_cache); }
  // Of a link that was refused last.
  const std::string& reason() const { return m_reason; }
  ZrPolicyCache& cache() { return m_cache; }

 private:
  ZrPolicyCache m_cache;   // one policy, at most one link
  GroupMembers m_members;  // none
  std::string m_reason;
  LoadOptions m_options;
  LoadReport m_report;
  CacheSink m_sink;
  LinkRow m_row;
};

}  // namespace zrhost
