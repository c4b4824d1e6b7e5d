#pragma once

#include <memory>
#include <string>
#include <vector>

#include "policy/ZrPolicyCache.h"
#include "policy/ZrPolicyResultSet.h"

namespace zrtest {

// A rule of a host's kind that notes what it is asked.
class TestRule : public ZrRule {
 public:
  explicit TestRule(int type = 247, bool ldap = false) : m_ldap(ldap) { m_ruleType = type; }
  int getRuleId() const override { return 1; }
  const char* getRuleName() const override { return "rule"; }
  bool containLDAPSetting() override {
    ++asked;
    return m_ldap;
  }
  void logRuleSummary() override { ++logged; }

  int asked = 0;
  int logged = 0;

 private:
  bool m_ldap;
};

inline ZrPolicy* newPolicy(int id, bool selected = true, bool isDefault = false) {
  auto policy = std::make_unique<ZrPolicy>();
  policy->m_policyId = id;
  policy->m_isDefault = isDefault;
  policy->m_vecRule = {new TestRule(selected ? 247 : 5), nullptr};
  return policy.release();
}

inline ZrEPLink* newLink(ZrEntityType type, const std::string& name, int policyId, int priority = 0) {
  auto link = std::make_unique<ZrEPLink>();
  link->m_entityType = type;
  link->m_entityName = name;
  link->m_policyId = policyId;
  link->m_priority = priority;
  return link.release();
}

// Policies 1 to count; those of even numbers above 100 have no selected rule.
inline void addPolicies(ZrPolicyCache& cache, int count) {
  for (int id = 1; id <= count; ++id)
    cache.addPolicy(newPolicy(id, id <= 100 || id % 2 != 0));
}

// What an operation throws, with its type in front; "nothing" when it does not.
template <class Operation>
std::string thrownBy(Operation operation) {
  try {
    operation();
  } catch (char* text) {
    return std::string("char*: ") + text;
  } catch (const char* text) {
    return std::string("const char*: ") + text;
  } catch (const std::bad_alloc&) {
    return "bad_alloc";
  }
  return "nothing";
}

// A result set bound to a cache, with the lookups and its content as lists.
class Asked {
 public:
  explicit Asked(ZrPolicyCache& cache) : m_cache(cache) { set.setRefInfo(&cache, cache.m_generation); }

  Asked& key(ZrEntityType type, std::string text) {
    m_cache.lookupPolicy(type, text.data(), &set);
    return *this;
  }
  Asked& range(std::string text) {
    m_cache.lookupPolicyIpRange(text.data(), &set);
    return *this;
  }
  std::vector<int> policies() {
    std::vector<int> ids;
    for (ZrPolicyResult* at = set.getTopPriorityResult(); at != nullptr; at = set.getNextResult())
      ids.push_back(at->getPolicyID());
    return ids;
  }
  std::vector<const ZrEPLink*> links() {
    std::vector<const ZrEPLink*> links;
    for (const ZrPolicyResult* result : set.m_setResult)
      links.push_back(result->m_pEPLink);
    return links;
  }

  ZrPolicyResultSet set;

 private:
  ZrPolicyCache& m_cache;
};

}  // namespace zrtest
