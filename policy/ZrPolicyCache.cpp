#include "policy/ZrPolicyCache.h"

#include <limits>
#include <new>
#include <utility>

#include "policy/cache_index_internal.h"
#include "policy/entity_key_internal.h"
#include "support/thrown_text_internal.h"

namespace {

template <class Map, class Key>
void insertIndexed(Map& map, zr::KeyIndex<Map>& index, Key&& key, ZrEPLink* link) {
  const bool covered = index.covers(map);
  const auto element = map.emplace(std::forward<Key>(key), link);
  if (covered) {
    index.added(map, element);
  } else {
    index.turnOff();  // else the numbers might agree again by chance
  }
}

// Appends a range; whatever goes wrong gives the one text.
void appendRange(std::vector<ZrEPLink*>& links, zr::RangeIndex& index, ZrEPLink* link) {
  const bool covered = index.covers(links);
  try {
    links.push_back(link);
  } catch (...) {
    throw "Failed to add pEPLink into m_vecIpRange";
  }
  if (covered) {
    index.added(links);
  } else {
    index.turnOff();
  }
}

// Deletes every object of a map, front to back. Each entry goes with its object, so that a destructor of the host's
// that looks at the map finds nothing that was deleted before.
template <class Map>
void purge(Map& map) {
  while (!map.empty()) {
    const auto first = map.begin();
    delete first->second;
    map.erase(first);
  }
}

// The same of a vector. Taking entries out at its front would move all others, so they become null first.
void purge(std::vector<ZrEPLink*>& links) {
  for (ZrEPLink*& link : links) {
    delete link;
    link = nullptr;
  }
  links.clear();
}

// Without its index, which knows the entries, while they go.
template <class Container, class Index>
void purge(Container& container, Index& index) {
  index.clear();
  purge(container);
}

// The default link's name fits into a string without allocation, so this cannot fail.
void becomeDefault(ZrEPLink& link, ZrPolicy* policy, std::int32_t policyId) {
  link.m_pPolicy = policy;
  link.m_entityType = ZrPolicyCache::DEFAULT;
  link.m_policyId = policyId;
  link.m_entityName = "Default Policy";
  link.m_priority = std::numeric_limits<std::int32_t>::max();
}

ZrPolicy* findPolicy(const ZrPolicyCache& cache, std::int32_t policyId) {
  const auto found = cache.m_mapPolicy.find(policyId);
  if (found != cache.m_mapPolicy.end()) return found->second;
  ZrPolicy* const byDefault = cache.m_defaultLink.m_pPolicy;
  if (byDefault != nullptr && byDefault->m_policyId == policyId) return byDefault;
  thread_local zr::ThrownText<256> text;
  throw text.format("PolicyID is not valid [%d]", policyId);
}

void fileLink(ZrPolicyCache& cache, ZrEPLink* link) {
  zr::CacheIndex& index = *cache.m_pIndex;
  std::string& name = link->m_entityName;
  switch (link->m_entityType) {
    case ZrPolicyCache::USER:
      return insertIndexed(cache.m_mapUser, index.user, zr::decodeLatinEntities(name), link);
    case ZrPolicyCache::GROUP:
      return insertIndexed(cache.m_mapGroup, index.group, zr::decodeLatinEntities(name), link);
    case ZrPolicyCache::HOSTNAME:
      zr::upperCase(name.data(), name.size());
      return insertIndexed(cache.m_mapHostname, index.hostname, name, link);
    case ZrPolicyCache::IP:
      link->convertIP();
      return insertIndexed(cache.m_mapIp, index.ip, link->m_ipFrom, link);
    case ZrPolicyCache::IP_RANGE:
      link->convertIP();
      return appendRange(cache.m_vecIpRange, index.ipRange, link);
    case ZrPolicyCache::OTHER:
      return insertIndexed(cache.m_mapOther, index.other, name, link);
    default:
      throw "Unknow entity type";
  }
}

}  // namespace

ZrPolicyCache::ZrPolicyCache() : m_pIndex(new zr::CacheIndex) {
  becomeDefault(m_defaultLink, nullptr, 0);
}

ZrPolicyCache::~ZrPolicyCache() {
  cleanup();
}

void ZrPolicyCache::addPolicy(ZrPolicy* policy) {
  bool inserted = false;
  try {
    inserted = m_mapPolicy.emplace(policy->m_policyId, policy).second;
  } catch (const std::bad_alloc&) {
    throw "ZrPolicyCache::addPolicy(), std::bad_alloc";
  }
  if (!inserted) throw "Failed to insert Policy object into m_mapPolicy";
  // Not before: the default link must not point at a policy that stays the caller's.
  if (policy->m_isDefault) becomeDefault(m_defaultLink, policy, policy->m_policyId);
}

void ZrPolicyCache::addEPLink(ZrEPLink* pEPLink) {
  if (pEPLink == nullptr) throw "NULL pEPLink link pointer";
  pEPLink->m_pPolicy = findPolicy(*this, pEPLink->m_policyId);
  try {
    fileLink(*this, pEPLink);
  } catch (const std::bad_alloc&) {
    throw " ZrPolicyCache::addEPLink(), std::bad_alloc";
  }
}

std::string ZrPolicyCache::UnescapeLatinHtmlUnicode(std::string& text) {
  return zr::decodeLatinEntities(text);
}

bool ZrPolicyCache::hasPolicyContainLDAPSetting() {
  for (const auto& [id, policy] : m_mapPolicy) {
    if (policy != nullptr && policy->hasRuleContainLDAPSetting()) return true;
  }
  return false;
}

void ZrPolicyCache::purgePolicyList() {
  m_defaultLink.m_pPolicy = nullptr;
  purge(m_mapPolicy);
}

void ZrPolicyCache::purgeEPLinkList() {
  purge(m_mapUser, m_pIndex->user);
  purge(m_mapGroup, m_pIndex->group);
  purge(m_mapHostname, m_pIndex->hostname);
  purge(m_mapIp, m_pIndex->ip);
  purge(m_vecIpRange, m_pIndex->ipRange);
  purge(m_mapOther, m_pIndex->other);
}

void ZrPolicyCache::cleanup() {
  purgePolicyList();
  purgeEPLinkList();
}

void ZrPolicyCache::reindex() {
  m_pIndex->user.rebuild(m_mapUser);
  m_pIndex->group.rebuild(m_mapGroup);
  m_pIndex->hostname.rebuild(m_mapHostname);
  m_pIndex->other.rebuild(m_mapOther);
  m_pIndex->ip.rebuild(m_mapIp);
  m_pIndex->ipRange.rebuild(m_vecIpRange);
}
