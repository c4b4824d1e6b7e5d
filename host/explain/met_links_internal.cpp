#include "host/explain/met_links_internal.h"

#include <algorithm>
#include <arpa/inet.h>

#include "host/explain/entity_text_internal.h"

namespace zrhost {

namespace {

using Names = std::multimap<std::string, ZrEPLink*>;

const Names& namesOf(const ZrPolicyCache& cache, ZrPolicyCache::EntityType type) {
  switch (type) {
    case ZrPolicyCache::GROUP:
      return cache.m_mapGroup;
    case ZrPolicyCache::HOSTNAME:
      return cache.m_mapHostname;
    case ZrPolicyCache::OTHER:
      return cache.m_mapOther;
    default:
      return cache.m_mapUser;
  }
}

template <class Map>
Links linksIn(const Map& map, const typename Map::key_type& key) {
  Links links;
  const auto [first, last] = map.equal_range(key);
  std::for_each(first, last, [&links](const auto& element) { links.push_back(element.second); });
  return links;
}

bool holds(const ZrEPLink& range, std::uint32_t address) {
  return addressValue(range.m_ipFrom) <= address && address <= addressValue(range.m_ipTo);
}

}  // namespace

Links linksOfKey(const ZrPolicyCache& cache, ZrPolicyCache::EntityType type, const char* key) {
  if (type == ZrPolicyCache::IP) return linksIn(cache.m_mapIp, inet_addr(key));
  return linksIn(namesOf(cache, type), Snapshot::searched(type, key));
}

Links rangesOf(const ZrPolicyCache& cache, const char* address) {
  const std::uint32_t number = addressValue(address);
  Links links;
  std::copy_if(cache.m_vecIpRange.begin(), cache.m_vecIpRange.end(), std::back_inserter(links),
               [number](const ZrEPLink* link) { return holds(*link, number); });
  return links;
}

Links allOf(const ZrPolicyCache& cache, ZrPolicyCache::EntityType type) {
  Links links;
  for (const auto& [key, link] : namesOf(cache, type))
    links.push_back(link);
  return links;
}

Links linksOfPolicy(const ZrPolicyCache& cache, const ZrPolicy& policy) {
  Links links;
  const auto take = [&links, &policy](const ZrEPLink* link) {
    if (link->m_pPolicy == &policy) links.push_back(link);
  };
  for (const auto* names : {&cache.m_mapUser, &cache.m_mapGroup, &cache.m_mapHostname, &cache.m_mapOther}) {
    for (const auto& [key, link] : *names)
      take(link);
  }
  for (const auto& [address, link] : cache.m_mapIp)
    take(link);
  std::for_each(cache.m_vecIpRange.begin(), cache.m_vecIpRange.end(), take);
  take(&cache.m_defaultLink);
  return links;
}

}  // namespace zrhost
