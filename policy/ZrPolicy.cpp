#include "policy/ZrPolicy.h"

#include "policy/accessors_internal.h"

ZrRule::~ZrRule() = default;

ZrPolicy::~ZrPolicy() {
  for (ZrRule*& rule : m_vecRule) {
    delete rule;
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
  return zr::selectedRuleOf(*this);
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
