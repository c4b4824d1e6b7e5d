#include "bench/plain_policy.h"

#include <arpa/inet.h>
#include <cctype>
#include <memory>
#include <new>

#include "support/PolicyLog.h"

namespace plain {
namespace {

ZrRule* selectedRule(const ZrPolicy* policy) {
  for (ZrRule* rule : policy->m_vecRule) {
    if (rule->m_ruleType == ZrRule::kSelectedKind) return rule;
  }
  return nullptr;
}

template <class Map, class Key>
void addKey(const Map& map, const Key& key, ResultSet* results) {
  const auto [first, last] = map.equal_range(key);
  for (auto element = first; element != last; ++element)
    Cache::addLink(element->second, results);
}

std::string changed(std::string key, int (*change)(int)) {
  for (char& letter : key)
    letter = static_cast<char>(change(static_cast<unsigned char>(letter)));
  return key;
}

}  // namespace

std::int32_t Result::getPolicyID() const {
  if (m_pEPLink == nullptr || m_pResultSet == nullptr || !m_pResultSet->isDataOK()) throw "policy ID is not available";
  return m_pEPLink->m_pPolicy->m_policyId;
}

std::int32_t Result::getPriority() const {
  if (m_pEPLink == nullptr || m_pResultSet == nullptr || !m_pResultSet->isDataOK()) throw "priority is not available";
  return m_pEPLink->m_priority;
}

void ResultSet::setRefInfo(const Cache* cache, std::uint32_t generation) {
  m_pCache = cache;
  m_refGeneration = generation;
}

void ResultSet::addResult(ZrEPLink* link, ZrRule* rule) {
  for (const Result* result : m_setResult) {
    if (result->getPolicyID() == link->m_policyId) return;
  }
  try {
    auto result = std::make_unique<Result>();
    result->m_pEPLink = link;
    result->m_pRule = rule;
    result->m_pResultSet = this;
    m_setResult.insert(result.get());
    (void)result.release();
  } catch (const std::bad_alloc&) {
    throw "Failed to allocate resource";
  }
}

void ResultSet::cleanup() {
  for (const Result* result : m_setResult)
    delete result;
  m_setResult.clear();
  m_refGeneration = 0;
  m_pCache = nullptr;
}

void Cache::addEPLink(ZrEPLink* link) {
  switch (link->m_entityType) {
    case ZrPolicyCache::USER:
      m_mapUser.emplace(link->m_entityName, link);
      break;
    case ZrPolicyCache::GROUP:
      m_mapGroup.emplace(link->m_entityName, link);
      break;
    case ZrPolicyCache::HOSTNAME:
      m_mapHostname.emplace(link->m_entityName, link);
      break;
    case ZrPolicyCache::IP:
      m_mapIp.emplace(link->m_ipFrom, link);
      break;
    case ZrPolicyCache::IP_RANGE:
      m_vecIpRange.push_back(link);
      break;
    default:
      m_mapOther.emplace(link->m_entityName, link);
  }
}

void Cache::addLink(ZrEPLink* link, ResultSet* results) {
  ZrRule* const rule = selectedRule(link->m_pPolicy);
  if (rule != nullptr) results->addResult(link, rule);
}

void Cache::lookupPolicy(ZrPolicyCache::EntityType type, const char* key, ResultSet* results) const {
  ZR_TRACE("Enter lookupPolicy(), type=%d, key=%s", static_cast<int>(type), key);
  std::string lowered = key;
  if (lowered != "POP3_Mail_Sender") lowered = changed(std::move(lowered), std::tolower);
  switch (type) {
    case ZrPolicyCache::USER:
      addKey(m_mapUser, lowered, results);
      break;
    case ZrPolicyCache::GROUP:
      addKey(m_mapGroup, lowered, results);
      break;
    case ZrPolicyCache::HOSTNAME:
      addKey(m_mapHostname, changed(lowered, std::toupper), results);
      break;
    case ZrPolicyCache::IP:
      addKey(m_mapIp, inet_addr(lowered.c_str()), results);
      break;
    default:
      addKey(m_mapOther, lowered, results);
  }
  ZR_TRACE("Leave lookupPolicy()");
}

void Cache::lookupPolicyIpRange(const char* key, ResultSet* results) const {
  const std::uint32_t address = ntohl(inet_addr(key));
  for (ZrEPLink* link : m_vecIpRange) {
    if (ntohl(link->m_ipFrom) <= address && address <= ntohl(link->m_ipTo)) addLink(link, results);
  }
}

}  // namespace plain
