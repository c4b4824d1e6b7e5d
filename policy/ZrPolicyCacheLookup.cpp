#include <new>
#include <string_view>

#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"
#include "policy/accessors_internal.h"
#include "policy/cache_index_internal.h"
#include "policy/entity_key_internal.h"
#include "policy/result_adder_internal.h"
#include "support/PolicyLog.h"
#include "support/thrown_text_internal.h"

namespace {

ZrRule* selectedRule(const ZrEPLink* link) {
  return link != nullptr && link->m_pPolicy != nullptr ? zr::selectedRuleOf(*link->m_pPolicy) : nullptr;
}

void addIfSelected(ZrEPLink* link, zr::ResultAdder& adder) {
  ZrRule* const rule = selectedRule(link);
  if (rule != nullptr) adder.add(link, rule);
}

// Visits the links of one key in the order in which they were added.
template <class Map, class Key, class Visit>
void visitKey(const Map& map, const zr::KeyIndex<Map>& index, const Key& key, Visit visit) {
  auto element = index.covers(map) ? index.find(map, key) : map.lower_bound(typename Map::key_type(key));
  for (; element != map.end() && element->first == key; ++element)
    visit(element->second);
}

void addRangesPlainly(const std::vector<ZrEPLink*>& links, std::uint32_t address, zr::ResultAdder& adder) {
  for (ZrEPLink* const link : links) {
    if (link != nullptr && zr::addressOrder(link->m_ipFrom) <= address && address <= zr::addressOrder(link->m_ipTo))
      addIfSelected(link, adder);
  }
}

void addRanges(const std::vector<ZrEPLink*>& links, const zr::RangeIndex& index, std::uint32_t address,
               zr::ResultAdder& adder) {
  if (!index.covers(links)) return addRangesPlainly(links, address, adder);
  index.visit(address, [&](std::size_t place) { addIfSelected(links[place], adder); });
}

// Adds a link of a user, with the trace line that tells whether it counts.
void addUser(ZrEPLink* link, zr::ResultAdder& adder, const char* counts, const char* countsNot) {
  ZrRule* const rule = selectedRule(link);
  ZR_TRACE("%s", rule != nullptr ? counts : countsNot);
  if (rule != nullptr) adder.add(link, rule);
}

void addUsers(const ZrPolicyCache& cache, std::string_view key, zr::ResultAdder& adder) {
  visitKey(cache.m_mapUser, cache.m_pIndex->user, key, [&adder](ZrEPLink* link) {
    addUser(link, adder, "ZrPolicyCache::lookupPolicy() find POP3 object.",
            "ZrPolicyCache::lookupPolicy() isn't POP3 object.");
  });
}

void addLinks(const ZrPolicyCache& cache, ZrEntityType iType, const zr::SearchKey& key, zr::ResultAdder& adder) {
  const zr::CacheIndex& index = *cache.m_pIndex;
  const auto add = [&adder](ZrEPLink* link) { addIfSelected(link, adder); };
  switch (iType) {
    case ZrPolicyCache::USER:
      return addUsers(cache, key.view(), adder);
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

void addAllLinks(const ZrPolicyCache& cache, zr::ResultAdder& adder) {
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is USER\n");
  for (const auto& [key, link] : cache.m_mapUser)
    addUser(link, adder, "ZrPolicyCache::lookupAllPolicy() find POP3 object\n",
            "ZrPolicyCache::lookupAllPolicy() isn't POP3 object\n");
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is GROUP\n");
  for (const auto& [key, link] : cache.m_mapGroup)
    addIfSelected(link, adder);
  ZR_TRACE("ZrPolicyCache::lookupAllPolicy() type is OTHER\n");
  for (const auto& [key, link] : cache.m_mapOther)
    addIfSelected(link, adder);
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
    zr::ResultAdder adder(pResultSet);
    addLinks(*this, iType, key, adder);
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
    zr::ResultAdder adder(pResultSet);
    addRanges(m_vecIpRange, m_pIndex->ipRange, zr::addressOrder(address), adder);
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
    zr::ResultAdder adder(pResultSet);
    addAllLinks(*this, adder);
  } catch (char* text) {
    ZR_TRACE("TZrPolicyCache::lookupAllPolicy() error %s\n", text);
    throw;
  } catch (...) {
    thread_local zr::ThrownText<64> text;
    throw text.format("ZrPolicyCache::lookupAllPolicy() unknow error");
  }
}

void ZrPolicyCache::getDefaultPolicy(ZrPolicyResultSet* pResultSet) {
  zr::ResultAdder adder(pResultSet);
  addIfSelected(&m_defaultLink, adder);
}
