#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/export.h"

class ZR_EXPORT ZrRule {
 public:
  ZrRule() = default;
  virtual ~ZrRule();
  virtual int getRuleId() const = 0;
  virtual const char* getRuleName() const = 0;
  virtual bool containLDAPSetting() = 0;
  virtual void logRuleSummary() = 0;

  std::int32_t m_ruleType = 0;
};

class ZR_EXPORT ZrPolicy {
 public:
  ZrPolicy() = default;
  virtual ~ZrPolicy();
  ZrPolicy(const ZrPolicy&) = delete;
  ZrPolicy& operator=(const ZrPolicy&) = delete;

  ZrRule* getFirstRule() const;
  ZrRule* getNextRule() const;
  ZrRule* getRuleByDateTime() const;
  void logPolicySummary();
  bool hasRuleContainLDAPSetting();

  std::int32_t m_policyId = 0;
  std::int32_t m_policyType = 0;
  bool m_isDefault = false;
  std::int32_t m_reserved = 0;
  std::string m_policyName;
  std::vector<ZrRule*> m_vecRule;
};
