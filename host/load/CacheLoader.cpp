#include "host/load/CacheLoader.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <utility>

#include "host/base/strict_number.h"
#include "host/load/SqlRule.h"

namespace zrhost {
namespace {

constexpr std::uint64_t kRowsPerReport = 1024;

// Why a row cannot be used.
struct Fault {
  std::string reason;
};

std::string shown(const Field& field) {
  constexpr std::size_t most = 60;
  if (!field) return "NULL";
  return field->size() <= most ? "'" + *field + "'" : "'" + field->substr(0, most) + "...'";
}

std::int32_t number(const Field& field, const char* column,
                    std::int64_t least = std::numeric_limits<std::int32_t>::min(),
                    std::int64_t most = std::numeric_limits<std::int32_t>::max()) {
  if (!field) throw Fault{std::string(column) + " is NULL"};
  if (const auto value = strictNumber(*field, least, most)) return static_cast<std::int32_t>(*value);
  throw Fault{std::string(column) + " is " + shown(field) + ", not a whole number from " + std::to_string(least) +
              " to " + std::to_string(most)};
}

bool flag(const Field& field, const char* column) {
  return number(field, column, 0, 1) == 1;
}

std::string text(Field& field, const char* column) {
  if (!field) throw Fault{std::string(column) + " is NULL"};
  return std::move(*field);
}

std::string key(const char* column, const Field& field) {
  const bool plain =
      field && strictNumber(*field, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
  return std::string(column) + " " + (plain ? *field : shown(field));
}

// A text of blanks passes for the address 0.0.0.0 with the cache, and one address for a range that nothing lies in.
void checkAddresses(const ZrEPLink& link) {
  if (link.m_entityType != ZrPolicyCache::IP && link.m_entityType != ZrPolicyCache::IP_RANGE) return;
  char first[16], last[16];
  const int words = std::sscanf(link.m_entityName.c_str(), "%15s ~ %15s", first, last);
  if (words < 1 && !link.m_entityName.empty()) throw Fault{"entity_name holds no IP address"};
  if (link.m_entityType == ZrPolicyCache::IP_RANGE && words == 1) {
    throw Fault{"entity_name " + shown(link.m_entityName) +
                " is no range: two addresses with ' ~ ' between them are needed"};
  }
}

std::unique_ptr<ZrPolicy> makePolicy(PolicyRow& row) {
  auto policy = std::make_unique<ZrPolicy>();
  policy->m_policyId = number(row.policyId, "policy_id");
  policy->m_policyType = number(row.policyType, "policy_type");
  policy->m_policyName = text(row.policyName, "policy_name");
  policy->m_isDefault = flag(row.isDefault, "is_default");
  return policy;
}

std::unique_ptr<SqlRule> makeRule(RuleRow& row) {
  auto rule = std::make_unique<SqlRule>();
  number(row.position, "position");
  rule->m_ruleId = number(row.ruleId, "rule_id");
  rule->m_ruleType = number(row.ruleType, "rule_type");
  rule->m_ldapSetting = flag(row.ldapSetting, "ldap_setting");
  rule->m_ruleName = text(row.ruleName, "rule_name");
  rule->m_action = text(row.action, "action");
  return rule;
}

std::unique_ptr<ZrEPLink> makeLink(LinkRow& row) {
  auto link = std::make_unique<ZrEPLink>();
  number(row.linkId, "link_id");
  link->m_entityType = static_cast<ZrPolicyCache::EntityType>(number(row.entityType, "entity_type"));
  link->m_policyId = number(row.policyId, "policy_id");
  link->m_priority = number(row.priority, "priority");
  link->m_entityName = text(row.entityName, "entity_name");
  checkAddresses(*link);
  return link;
}

// The cache says that memory ran out in the same way as it refuses a row.
void throwIfNoMemory(const char* thrown) {
  if (std::strstr(thrown, "std::bad_alloc") != nullptr) throw std::bad_alloc();
}

// Runs the use of one row; answers why it could not be used, or nothing.
template <typename Use>
std::optional<std::string> faultOf(Use use) {
  try {
    use();
    return std::nullopt;
  } catch (const Fault& fault) {
    return fault.reason;
  } catch (const char* thrown) {
    throwIfNoMemory(thrown);
    return thrown;
  }
}

std::uint32_t nextGeneration() {
  static std::atomic<std::uint32_t> last{0};
  std::uint32_t generation = ++last;
  while (generation == 0)
    generation = ++last;
  return generation;
}

}  // namespace

std::string RefusedRow::text() const {
  return table + ", " + key + ": " + reason;
}

std::uint64_t LoadReport::links() const {
  return std::accumulate(linksByType.begin(), linksByType.end(), std::uint64_t{0});
}

CacheSink::CacheSink(ZrPolicyCache& cache, const LoadOptions& options, LoadReport& report)
    : m_cache(cache), m_options(options), m_report(report) {}

void CacheSink::onRevision(const Revision& revision) {
  m_report.revision = revision;
}

void CacheSink::onPolicy(PolicyRow& row) {
  const auto fault = faultOf([&] {
    auto policy = makePolicy(row);
    m_cache.addPolicy(policy.get());
    static_cast<void>(policy.release());
    ++m_report.policies;
  });
  if (fault) refuse("policy", key("policy_id", row.policyId), *fault);
  countRow();
}

void CacheSink::onRule(RuleRow& row) {
  const auto fault = faultOf([&] {
    const std::int32_t policyId = number(row.policyId, "policy_id");
    auto rule = makeRule(row);
    const auto found = m_cache.m_mapPolicy.find(policyId);
    if (found == m_cache.m_mapPolicy.end()) throw Fault{"there is no policy " + *row.policyId};
    const std::pair<std::int64_t, std::int64_t> place{policyId, *strictNumber(*row.position, INT32_MIN, INT32_MAX)};
    if (m_lastRule == place) throw Fault{"the policy has a rule at this position already"};
    found->second->m_vecRule.push_back(rule.get());
    static_cast<void>(rule.release());
    m_lastRule = place;
    ++m_report.rules;
  });
  if (fault) refuse("policy_rule", key("policy_id", row.policyId) + ", " + key("position", row.position), *fault);
  countRow();
}

void CacheSink::onLink(LinkRow& row) {
  const auto fault = faultOf([&] {
    auto link = makeLink(row);
    m_cache.addEPLink(link.get());
    ++m_report.linksByType.at(static_cast<std::size_t>(link.release()->m_entityType));
  });
  if (fault) refuse("ep_link", key("link_id", row.linkId), *fault);
  countRow();
}

// A cache knows no members.
void CacheSink::onMember(MemberRow&) {
  countRow();
}

void CacheSink::refuse(const char* table, const std::string& key, const std::string& reason) {
  ++m_report.refused;
  const RefusedRow refused{table, key, reason};
  if (m_options.onRefused) m_options.onRefused(refused);
  if (m_options.strict) throw HostError(ErrorKind::kBadRow, "bad row in " + refused.text() + "; correct or remove it");
}

void CacheSink::countRow() {
  if (++m_rows % kRowsPerReport == 0 && m_options.onProgress) m_options.onProgress(m_rows);
}

std::unique_ptr<ZrPolicyCache> loadCache(RowSource& source, const LoadOptions& options, LoadReport& report) {
  try {
    auto cache = std::make_unique<ZrPolicyCache>();
    CacheSink sink(*cache, options, report);
    source.read(sink);
    cache->m_generation = nextGeneration();
    return cache;
  } catch (const std::bad_alloc&) {
    throw HostError(ErrorKind::kInternal, "out of memory after " + std::to_string(report.policies) + " policies and " +
                                              std::to_string(report.links()) + " links");
  }
}

}  // namespace zrhost
