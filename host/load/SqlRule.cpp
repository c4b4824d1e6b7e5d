#include "host/load/SqlRule.h"

#include "support/PolicyLog.h"

namespace zrhost {

void SqlRule::logRuleSummary() {
  ZR_TRACE("rule %d, type %d, '%s', LDAP %d: %s\n", m_ruleId, m_ruleType, m_ruleName.c_str(), m_ldapSetting,
           m_action.c_str());
}

}  // namespace zrhost
