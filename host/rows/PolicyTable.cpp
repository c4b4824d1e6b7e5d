#include "host/rows/PolicyTable.h"

#include <algorithm>
#include <limits>
#include <string>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"

namespace zrhost {
namespace {

constexpr std::size_t kMostShown = 60;

constexpr PolicyColumn number(const char* name) {
  return {name, true, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
}

constexpr PolicyColumn number(const char* name, std::int64_t least, std::int64_t most) {
  return {name, true, least, most};
}

constexpr PolicyColumn text(const char* name) {
  return {name, false};
}

constexpr PolicyColumn key(PolicyColumn column) {
  column.isKey = true;
  return column;
}

constexpr PolicyColumn mayBeAbsent(PolicyColumn column) {
  column.mayBeAbsent = true;
  return column;
}

constexpr PolicyColumn kPolicyColumns[] = {key(number("policy_id")), number("policy_type"), text("policy_name"),
                                           number("is_default", 0, 1)};
constexpr PolicyColumn kRuleColumns[] = {
    key(number("policy_id")), key(number("position")),      number("rule_id"), number("rule_type"),
    text("rule_name"),        number("ldap_setting", 0, 1), text("action")};
constexpr PolicyColumn kLinkColumns[] = {mayBeAbsent(key(number("link_id"))), number("entity_type", 1, 6),
                                         text("entity_name"), number("policy_id"), number("priority")};
constexpr PolicyColumn kMemberColumns[] = {key(text("group_name")), key(text("user_name"))};

constexpr PolicyTableFormat kFormats[kPolicyTables] = {
    {PolicyTable::kPolicy, "policy", "policy", "policy.csv", kPolicyColumns},
    {PolicyTable::kRule, "rule", "policy_rule", "policy_rule.csv", kRuleColumns},
    {PolicyTable::kLink, "link", "ep_link", "ep_link.csv", kLinkColumns},
    {PolicyTable::kMember, "member", "group_member", "group_member.csv", kMemberColumns},
};

}  // namespace

const PolicyTableFormat& formatOf(PolicyTable table) {
  return kFormats[static_cast<std::size_t>(table)];
}

const PolicyTableFormat* findTable(std::string_view member) {
  const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                   [member](const PolicyTableFormat& format) { return format.member == member; });
  return found == std::end(kFormats) ? nullptr : found;
}

std::array<Field*, 4> fieldsOf(PolicyRow& row) {
  return {&row.policyId, &row.policyType, &row.policyName, &row.isDefault};
}

std::array<Field*, 7> fieldsOf(RuleRow& row) {
  return {&row.policyId, &row.position, &row.ruleId, &row.ruleType, &row.ruleName, &row.ldapSetting, &row.action};
}

std::array<Field*, 5> fieldsOf(LinkRow& row) {
  return {&row.linkId, &row.entityType, &row.entityName, &row.policyId, &row.priority};
}

std::array<Field*, 2> fieldsOf(MemberRow& row) {
  return {&row.groupName, &row.userName};
}

std::optional<std::string> valueFault(const PolicyColumn& column, const Field& value) {
  const bool isFine =
      !value ? column.mayBeAbsent : !column.isNumber || strictNumber(*value, column.least, column.most).has_value();
  if (isFine) return std::nullopt;
  const std::string name = column.name;
  if (!value) return name + " is NULL";
  return name + " is '" + shortened(*value, kMostShown) + "', not a whole number from " + std::to_string(column.least) +
         " to " + std::to_string(column.most);
}

}  // namespace zrhost
