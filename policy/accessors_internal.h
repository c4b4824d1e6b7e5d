#ifndef ZR_POLICY_ACCESSORS_INTERNAL_H
#define ZR_POLICY_ACCESSORS_INTERNAL_H

#include <cstdint>

#include "policy/ZrPolicyResultSet.h"

// What the library asks results, sets and policies for itself, again and again: inline, since a call of a public
// operation may end up in another library of the host's process and costs a jump through a table.
namespace zr {

inline constexpr const char* kNoPolicyId = "policy ID is not available anymore";

inline bool isValid(const ZrPolicyResultSet& set) {
  return set.m_pCache != nullptr && set.m_pCache->m_generation == set.m_refGeneration;
}

// What an accessor needs to be there, or `message` as the exception.
template <class Pointer>
Pointer available(Pointer pointer, const ZrPolicyResultSet* set, const char* message) {
  if (pointer == nullptr || set == nullptr || !isValid(*set)) throw message;
  return pointer;
}

inline std::int32_t policyIdOf(const ZrPolicyResult& result) {
  return available(result.m_pEPLink, result.m_pResultSet, kNoPolicyId)->m_pPolicy->m_policyId;
}

inline std::int32_t priorityOf(const ZrPolicyResult& result) {
  return available(result.m_pEPLink, result.m_pResultSet, "Policy priority information is not available anymore")
      ->m_priority;
}

inline ZrRule* selectedRuleOf(const ZrPolicy& policy) {
  for (ZrRule* const rule : policy.m_vecRule) {
    if (rule != nullptr && rule->m_ruleType == ZrRule::kSelectedKind) return rule;
  }
  return nullptr;
}

}  // namespace zr

#endif  // ZR_POLICY_ACCESSORS_INTERNAL_H
