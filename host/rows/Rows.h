#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zrhost {

// One column of one row: the text exactly as the database has it, or nothing for NULL. Numbers are text here as well:
// whether they are numbers is for the sink to judge (strict_number.h).
using Field = std::optional<std::string>;

// Puts a text into a field, whose storage is used again.
inline void assign(Field& field, std::string_view text) {
  field ? field->assign(text) : field.emplace(text);
}

struct RevisionRow {
  Field epoch;
  Field revision;
  Field schemaVersion;
};

struct PolicyRow {
  Field policyId;
  Field policyType;
  Field policyName;
  Field isDefault;
};

struct RuleRow {
  Field policyId;
  Field position;
  Field ruleId;
  Field ruleType;
  Field ruleName;
  Field ldapSetting;
  Field action;
};

struct LinkRow {
  Field linkId;
  Field entityType;
  Field entityName;
  Field policyId;
  Field priority;
};

// A user's membership of a group, for programs that are told a user only.
struct MemberRow {
  Field groupName;
  Field userName;
};

// The state of a policy database. Two equal values name the same content: `revision` rises with every change, in the
// transaction of that change, and `epoch` is a random text made when the database was created, so that a database that
// was restored or made anew is not taken for the old one.
struct Revision {
  std::string epoch;
  std::int64_t revision = 0;
  int schemaVersion = 0;
  bool operator==(const Revision&) const = default;
};

}  // namespace zrhost
