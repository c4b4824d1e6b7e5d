#ifndef ZR_POLICY_RESULT_ADDER_INTERNAL_H
#define ZR_POLICY_RESULT_ADDER_INTERNAL_H

#include <cstdint>

#include "policy/ZrPolicyResultSet.h"

namespace zr {

// Adds results to a set, one after another, while nobody else changes the set or what it points at: for one lookup, or
// for one result. What the host changed before is noticed at the first addition, once.
class ResultAdder {
 public:
  explicit ResultAdder(ZrPolicyResultSet* set) : m_set(set) {}

  // As ZrPolicyResultSet::addResult.
  void add(ZrEPLink* link, ZrRule* rule);

 private:
  bool holdsPolicy(std::int32_t policyId);
  void insert(ZrEPLink* link, ZrRule* rule);

  ZrPolicyResultSet* m_set;
  bool m_recheck = true;
  bool m_covered = false;  // whether the table of IDs speaks for the set
};

}  // namespace zr

#endif  // ZR_POLICY_RESULT_ADDER_INTERNAL_H
