#ifndef ZR_POLICY_ZRPOLICY_H
#define ZR_POLICY_ZRPOLICY_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/export.h"

// One rule of a policy. Hosts derive their rule kinds from it; the library knows a rule by its kind number and the two
// last operations alone.
//
// Ownership: created with new by the host; owned, and deleted, by the policy whose m_vecRule holds it.
// Threads: no locks; operations that only read may run at the same time, as far as the host's kinds allow it.
// Failures: the library throws nothing here.
class ZR_EXPORT ZrRule {
 public:
  // The kind of the rules that the cache's lookups select.
  static constexpr std::int32_t kSelectedKind = 247;

  ZrRule() = default;
  virtual ~ZrRule();

  // The host's own number and name of the rule. The library calls neither.
  virtual int getRuleId() const = 0;
  virtual const char* getRuleName() const = 0;

  // Whether the rule contains an LDAP setting. Asked by ZrPolicy::hasRuleContainLDAPSetting.
  virtual bool containLDAPSetting() = 0;

  // Logs the rule's share of ZrPolicy::logPolicySummary, in whatever way the host likes.
  virtual void logRuleSummary() = 0;

  // The kind of the rule, a number of the host's but for 247.
  std::int32_t m_ruleType = 0;
};

// One policy: its number, type and name, and the rules that it consists of.
//
// Ownership: created with new by the host and handed to ZrPolicyCache::addPolicy, which owns it unless it throws. The
// policy owns its rules.
// Threads: no locks. Everything but destruction only reads, and may run in several threads at once over a policy that
// nobody changes (logPolicySummary as far as the host's rules allow it).
// Failures: no operation throws anything of its own.
class ZR_EXPORT ZrPolicy {
 public:
  ZrPolicy() = default;

  // Deletes every rule of m_vecRule, front to back, each exactly once.
  virtual ~ZrPolicy();

  ZrPolicy(const ZrPolicy&) = delete;
  ZrPolicy& operator=(const ZrPolicy&) = delete;

  // Both always answer null, also for a policy with rules, and change nothing: walk m_vecRule instead.
  ZrRule* getFirstRule() const;
  ZrRule* getNextRule() const;

  // The selected rule: the first of m_vecRule whose m_ruleType is 247; null when there is none. The rule stays the
  // policy's. Every lookup of the cache skips the links of a policy that answers null here. Neither the date nor the
  // time plays a part.
  ZrRule* getRuleByDateTime() const;

  // Calls logRuleSummary of every rule, front to back; logs nothing else.
  void logPolicySummary();

  // Whether any rule contains an LDAP setting: asks front to back and stops at the first that answers true.
  bool hasRuleContainLDAPSetting();

  // The policy's number, unique within a cache. It must not change while a cache or a result set holds the policy.
  std::int32_t m_policyId = 0;
  // A number of the host's, handed out unchanged by ZrPolicyResult::getPolicyType.
  std::int32_t m_policyType = 0;
  // Whether this is the default policy; ZrPolicyCache::addPolicy reads it.
  bool m_isDefault = false;
  // The host's; the library never reads it.
  std::int32_t m_reserved = 0;
  // Results hand it out as a zero-terminated text (ZrPolicyResult::getPolicyName).
  std::string m_policyName;
  // The rules in the host's order. Owned. No element should be null; one that is, is passed over.
  std::vector<ZrRule*> m_vecRule;
};

#endif  // ZR_POLICY_ZRPOLICY_H
