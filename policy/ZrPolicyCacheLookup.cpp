#include <new>
#include <string_view>

#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"
#include "policy/cache_index_internal.h"
#include "policy/entity_key_internal.h"
#include "support/PolicyLog.h"
#include "support/thrown_text_internal.h"

namespace {

ZrRule* selectedRule(const ZrEPLink* link) {
  return link != nullptr && link->m_pPolicy != nullptr ? link->m_pPolicy->getRuleByDateTime() : nullptr;
}

void addIfSelected(ZrEPLink* link, ZrPolicyResultSet* pResultSet) {
  ZrRule* const rule = selectedRule(link);
  if (rule != nullptr) pResultSet->addResult(link, rule);
}

// Visits the links of one key in the order in which they were added.
template <class Map, class Key, class Visit>
void visitKey(const Map& map, const zr::KeyIndex<Map>& index, const Key& key, Visit visit) {
  auto element = index.covers(map) ? index.find(map, key) : map.lower_bound(typename Map::key_type(key));
  for (; element != map.end() && element->first == key; ++element)
    visit(element->second);
}

void addRangesPlainly(const std::vector<ZrEPLink*>& links, std::uint32_t address, ZrPolicyResultSet* pResultSet) {
  for (ZrEPLink* const link : links) {
    if (link != nullptr && zr::addressOrder(link->m_ipFrom) <= address && address <= zr::addressOrder(link->m_ipTo))
      addIfSelected(link, pResultSet);
  }
}

// Answers false when the index cannot be used.
bool findRanges(const std::vector<ZrEPLink*>& links, const zr::RangeIndex& index, std::uint32_t address,
                zr::Places& places) {
  if (!index.covers(links)) return false;
  try {
    index.find(address, places);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void addRanges(const std::vector<ZrEPLink*>& links, const zr::RangeIndex& index, std::uint32_t address,
               ZrPolicyResultSet* pResultSet) {
  zr::Places places;
  if (!findRanges(links, index, address, places)) return addRangesPlainly(links, address, pResultSet);
  for (const std::uint32_t place : places)
    addIfSelected(links[place], pResultSet);
}

// Adds a link of a user, with the trace line that tells whether it counts.
void addUser(ZrEPLink* link, ZrPolicyResultSet* pResultSet, const char* counts, const char* countsNot) {
  ZrRule* const rule = selectedRule(link);
  ZR_TRACE("%s", rule != nullptr ? counts : countsNot);
  if (rule != nullptr) pResultSet->addResult(link, rule);
}

void addUsers(const ZrPolicyCache& cache, std::string_view key, ZrPolicyResultSet* pResultSet) {
  visitKey(cache.m_mapUser, cache.m_pIndex->user, key, [pResultSet](ZrEPLink* link) {
    addUser(link, pResultSet, "ZrPolicyCache::lookupPolicy() find POP3 object.",
            "ZrPolicyCache::lookupPolicy() isn't POP3 object.");
  });
}

void addLinks(const ZrPolicyCache& cache, ZrEntityType iType, const zr::SearchKey& key, ZrPolicyResultSet* pResultSet) {
  const zr::CacheIndex& index = *cache.m_pIndex;
  const auto add = [pResultSet](ZrEPLink* link) { addIfSelected(link, pResultSet); };
  switch (iType) {
    case ZrPolicyCache::USER:
      return addUsers(cache, key.view(), pResultSet);
    case ZrPolicyCache::GROUP:
      return visitKey(cache.m_mapGroup, index.group, key.view(), add);
    case ZrPolicyCache::HOSTNAME:
      return visitKey(cache.m_mapHostname, index.hostname, zr::SearchKey::upperCased(key).view(), add);
    case ZrPolicyCache::IP: {
      const unsigned long address = zr::parseAddress(key.c_str());
      if (address == zr::kNoAddress) throw "Invalid IP address";
      return visitKey(cache.m_mapIp, index.ip, address, add);
    }
    case ZrPolicyCache::IP_RANGE:  // answered by lookupPolicyIpRange alone
      return;
    case ZrPolicyCache::OTHER:
      return visitKey(cache.m_mapOther, index.other, key.view(), add);
    default:
      thread_local zr::ThrownText<128> text;
      throw text.format("Unknow entity type [%d]", static_cast<int>(iType));
  }
}

void addAllLinks(const ZrPolicyCache& cache, ZrPolicyResultSet* pResultSet) {
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is USER\n");
  for (const auto& [key, link] : cache.m_mapUser)
    addUser(link, pResultSet, "ZrPolicyCache::lookupAllPolicy() find POP3 object\n",
            "ZrPolicyCache::lookupAllPolicy() isn't POP3 object\n");
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is GROUP\n");
  for (const auto& [key, link] : cache.m_mapGroup)
    addIfSelected(link, pResultSet);
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is OTHER\n");
  for (const auto& [key, link] : cache.m_mapOther)
    addIfSelected(link, pResultSet);
}

}  // namespace

void ZrPolicyCache::lookupPolicy(EntityType iType, char* pszKey, ZrPolicyResultSet* pResultSet) {
  ZR_TRACE("Enter ZrPolicyCache::lookupPolicy(), type=%d, key=%s", static_cast<int>(iType),
           pszKey != nullptr ? pszKey : "(null)");
  if (iType == DEFAULT || pszKey == nullptr || *pszKey == '\0' || pResultSet == nullptr) {
    ZR_POLICY_LOG(PolicyLog::LEVEL_ERROR, "[ERROR]ZrPolicyCache::lookupPolicy() query parameter error.");
    return;
  }
  const zr::SearchKey key = zr::SearchKey::normalised(pszKey);
  try {
    addLinks(*this, iType, key, pResultSet);
  } catch (char*) {
    throw;
  } catch (...) {
    thread_local zr::ThrownText<256> text;
    throw text.format("ZrPolicyCache::lookupRule() unknow error, iType:[%d], pszKey:[%s]", static_cast<int>(iType),
                      key.c_str());
  }
  ZR_TRACE("Leave ZrPolicyCache::lookupPolicy()");
}

void ZrPolicyCache::lookupPolicyIpRange(char* pszKey, ZrPolicyResultSet* pResultSet) {
  if (pszKey == nullptr || *pszKey == '\0' || pResultSet == nullptr) return;
  const std::uint32_t address = zr::parseAddress(pszKey);
  if (address == zr::kNoAddress) throw "Invalid IP address";
  try {
    addRanges(m_vecIpRange, m_pIndex->ipRange, zr::addressOrder(address), pResultSet);
  } catch (const std::bad_alloc&) {
    thread_local zr::ThrownText<256> text;
    throw text.format("ZrPolicyCache::lookupRuleIpRange(), std::bad_alloc, pszKey:[%s]", pszKey);
  }
}

void ZrPolicyCache::lookupAllPolicy(ZrPolicyResultSet* pResultSet) {
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() ...\n");
  if (pResultSet == nullptr) {
    ZR_POLICY_LOG(PolicyLog::LEVEL_ERROR, "ZrPolicyCache::lookupAllPolicy() query parameter error\n");
    return;
  }
  try {
    addAllLinks(*this, pResultSet);
  } catch (char* text) {
    ZR_TRACE("TZrPolicyCache::lookupAllPolicy() error %s\n", text);
    throw;
  } catch (...) {
    thread_local zr::ThrownText<64> text;
    throw text.format("ZrPolicyCache::lookupAllPolicy() unknow error");
  }
}

void ZrPolicyCache::getDefaultPolicy(ZrPolicyResultSet* pResultSet) {
  addIfSelected(&m_defaultLink, pResultSet);
}
