#ifndef ZR_POLICY_RESULT_ADDER_INTERNAL_H
#define ZR_POLICY_RESULT_ADDER_INTERNAL_H

#include <cstdint>

#include "policy/ZrPolicyResultSet.h"

namespace zr {

// Adds results to a set, one after another, while nobody else changes the set or what it points at: for one lookup, or
// for one result.
class ResultAdder {
 public:
  // `recheck`: whether links that were pointed at other policies since the last addition are to be noticed.
  explicit ResultAdder(ZrPolicyResultSet* set, bool recheck = true) : m_set(set), m_recheck(recheck) {}

  // As ZrPolicyResultSet::addResult.
  void add(ZrEPLink* link, ZrRule* rule);

 private:
  bool holdsPolicy(std::int32_t policyId);
  void insert(ZrEPLink* link, ZrRule* rule);

  ZrPolicyResultSet* m_set;
  bool m_recheck;
  bool m_covered = false;  // whether the table of IDs speaks for the set
};

}  // namespace zr

#endif  // ZR_POLICY_RESULT_ADDER_INTERNAL_H
