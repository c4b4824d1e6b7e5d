#include "policy/ZrPolicy.h"

ZrRule::~ZrRule() noexcept(false) = default;

ZrPolicy::~ZrPolicy() noexcept(false) {
  for (ZrRule*& rule : m_vecRule) {
    try {
      delete rule;
    } catch (...) {  // the other rules must not be lost because of this one
    }
    rule = nullptr;
  }
}

ZrRule* ZrPolicy::getFirstRule() const {
  return nullptr;
}

ZrRule* ZrPolicy::getNextRule() const {
  return nullptr;
}

ZrRule* ZrPolicy::getRuleByDateTime() const {
  for (ZrRule* rule : m_vecRule) {
    if (rule != nullptr && rule->m_ruleType == ZrRule::kSelectedKind) return rule;
  }
  return nullptr;
}

void ZrPolicy::logPolicySummary() {
  for (ZrRule* rule : m_vecRule) {
    if (rule != nullptr) rule->logRuleSummary();
  }
}

bool ZrPolicy::hasRuleContainLDAPSetting() {
  for (ZrRule* rule : m_vecRule) {
    if (rule != nullptr && rule->containLDAPSetting()) return true;
  }
  return false;
}
