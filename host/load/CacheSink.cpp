#include "host/load/CacheSink.h"

#include <cstring>
#include <limits>
#include <memory>
#include <netinet/in.h>
#include <new>
#include <optional>
#include <utility>

#include "host/base/HostError.h"
#include "host/base/strict_number.h"
#include "host/load/SqlLink.h"
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

// A text of blanks passes for the address 0.0.0.0 with the cache, and one address for a range that nothing lies in:
// what the library's own reading leaves untouched shows it.
void checkAddresses(ZrEPLink& link) {
  if (link.m_entityType != ZrPolicyCache::IP && link.m_entityType != ZrPolicyCache::IP_RANGE) return;
  link.m_ipFrom = link.m_ipTo = INADDR_NONE;  // which is no address that can be read
  link.convertIP();
  if (link.m_ipFrom == INADDR_NONE) throw Fault{"entity_name holds no IP address"};
  if (link.m_ipTo != INADDR_NONE) return;
  link.m_ipTo = 0;
  if (link.m_entityType == ZrPolicyCache::IP_RANGE) {
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

std::unique_ptr<ZrEPLink> newLink(std::int32_t linkId, bool keepsId) {
  if (keepsId) return std::make_unique<SqlLink>(linkId);
  return std::make_unique<ZrEPLink>();
}

std::unique_ptr<ZrEPLink> makeLink(LinkRow& row, bool keepsId) {
  auto link = newLink(number(row.linkId, "link_id"), keepsId);
  link->m_entityType = static_cast<ZrPolicyCache::EntityType>(number(row.entityType, "entity_type"));
  link->m_policyId = number(row.policyId, "policy_id");
  link->m_priority = number(row.priority, "priority");
  link->m_entityName = text(row.entityName, "entity_name");
  checkAddresses(*link);
  return link;
}

// A name that some question can hold.
void requireMemberName(const Field& field, const char* column) {
  if (!field) throw Fault{std::string(column) + " is NULL"};
  if (field->empty()) throw Fault{std::string(column) + " is empty"};
  if (field->find('\0') != std::string::npos) throw Fault{std::string(column) + " holds a zero byte"};
}

// As the cache has it in a link: written with entities, searched without.
void decodeEntities(ZrPolicyCache& cache, std::string& name) {
  if (name.find("&#") != std::string::npos) name = cache.UnescapeLatinHtmlUnicode(name);
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

}  // namespace

CacheSink::CacheSink(ZrPolicyCache& cache, GroupMembers& members, const LoadOptions& options, LoadReport& report)
    : m_cache(cache), m_members(members), m_options(options), m_report(report) {}

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
    auto link = makeLink(row, m_options.keepLinkIds);
    m_cache.addEPLink(link.get());
    ++m_report.linksByType.at(static_cast<std::size_t>(link.release()->m_entityType));
  });
  if (fault) refuse("ep_link", key("link_id", row.linkId), *fault);
  countRow();
}

void CacheSink::onMember(MemberRow& row) {
  const auto fault = faultOf([&] {
    requireMemberName(row.groupName, "group_name");
    requireMemberName(row.userName, "user_name");
    decodeEntities(m_cache, *row.groupName);
    decodeEntities(m_cache, *row.userName);
    m_members.add(*row.groupName, *row.userName);
    ++m_report.members;
  });
  if (fault) refuse("group_member", key("group_name", row.groupName) + ", " + key("user_name", row.userName), *fault);
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

}  // namespace zrhost
