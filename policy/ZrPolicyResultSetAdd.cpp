#include <memory>
#include <new>
#include <utility>

#include "policy/ZrPolicyResultSet.h"
#include "policy/accessors_internal.h"
#include "policy/result_adder_internal.h"
#include "policy/set_index_internal.h"

// The order of the results stands in this file so that the insertion below need not call it.
bool ZrPolicyResult::operator()(const ZrPolicyResult* a, const ZrPolicyResult* b) const {
  return zr::priorityOf(*a) < zr::priorityOf(*b);
}

void ZrPolicyResultSet::addResult(ZrEPLink* link, ZrRule* rule) {
  zr::ResultAdder(this).add(link, rule);
}

namespace zr {
namespace {

constexpr std::size_t kFew = 4;  // fewer results are walked sooner than a table is made

bool walkFor(const ZrPolicyResultSet& set, std::int32_t policyId) {
  for (const ZrPolicyResult* const result : set.m_setResult) {
    if (policyIdOf(*result) == policyId) return true;
  }
  return false;
}

// Makes the index of a set that has none. Results of a host's own that a walk might not pass are left to the walk.
void makeIndex(ZrPolicyResultSet& set) {
  set.m_pIds.reset(new (std::nothrow) SetIndex);
  if (!set.m_pIds) return;
  for (const ZrPolicyResult* const result : set.m_setResult) {
    if (result->m_pEPLink == nullptr || result->m_pResultSet != &set) return set.m_pIds->ids.turnOff();
    set.m_pIds->ids.add(result->m_pEPLink);
  }
}

}  // namespace

// A walk over the results throws when the set is out of date; so does this without a walk.
bool ResultAdder::holdsPolicy(std::int32_t policyId) {
  const std::size_t size = m_set->m_setResult.size();
  IdSet* const ids = m_set->m_pIds ? &m_set->m_pIds->ids : nullptr;
  m_covered = ids != nullptr && ids->covers(size);
  if (size == 0) return false;
  if (!m_covered) return walkFor(*m_set, policyId);
  if (!isValid(*m_set)) throw kNoPolicyId;
  if (m_recheck) ids->recheck();
  m_recheck = false;
  return ids->contains(policyId);
}

// The end is no more than a hint: links are mostly loaded, and so found, in the order of their priorities.
void ResultAdder::insert(ZrEPLink* link, ZrRule* rule) {
  try {
    SpareResults::Node spare = m_set->m_pIds ? m_set->m_pIds->spare.take() : SpareResults::Node();
    std::unique_ptr<ZrPolicyResult> result(spare.empty() ? new ZrPolicyResult : spare.value());
    result->m_pEPLink = link;
    result->m_pRule = rule;
    result->m_pResultSet = m_set;
    SpareResults::Container& results = m_set->m_setResult;
    if (spare.empty()) {
      results.insert(results.end(), result.get());
    } else {
      results.insert(results.end(), std::move(spare));
    }
    (void)result.release();  // the set's from here on
  } catch (const std::bad_alloc&) {
    throw "Failed to allocate resource for ZrPolicyResult";
  }
}

void ResultAdder::add(ZrEPLink* link, ZrRule* rule) {
  if (holdsPolicy(link->m_policyId)) return;
  insert(link, rule);
  if (m_covered) {
    m_set->m_pIds->ids.add(link);
  } else if (!m_set->m_pIds && m_set->m_setResult.size() >= kFew) {
    makeIndex(*m_set);
  }
}

}  // namespace zr
