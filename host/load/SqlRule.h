#pragma once

#include <cstdint>
#include <string>

#include "policy/ZrPolicy.h"

namespace zrhost {

// The rule kind of the programs: a row of policy_rule. Its type is m_ruleType.
class SqlRule : public ZrRule {
 public:
  int getRuleId() const override { return m_ruleId; }
  const char* getRuleName() const override { return m_ruleName.c_str(); }
  bool containLDAPSetting() override { return m_ldapSetting; }
  // Writes one trace line.
  void logRuleSummary() override;

  std::int32_t m_ruleId = 0;
  bool m_ldapSetting = false;
  std::string m_ruleName;
  std::string m_action;
};

}  // namespace zrhost
