#include "policy/ZrPolicyResultSet.h"

#include <memory>
#include <new>

#include "policy/id_set_internal.h"

namespace {

constexpr std::size_t kHandful = 16;  // up to here walking the results is no slower than a table

// What an accessor needs to be there, or `message` as the exception.
template <class Pointer>
Pointer available(Pointer pointer, const ZrPolicyResultSet* set, const char* message) {
  if (pointer == nullptr || set == nullptr || !set->isDataOK()) throw message;
  return pointer;
}

constexpr const char* kNoPolicyId = "policy ID is not available anymore";

// Adds to the table, or drops it: without memory, or for a second result of one policy, which is the host's own doing.
void noteId(std::unique_ptr<zr::IdSet>& ids, std::int32_t policyId) {
  if (ids->contains(policyId) || !ids->add(policyId)) ids.reset();
}

// Notes the policies of all results for the next time.
void noteAll(ZrPolicyResultSet& set) {
  set.m_pIds.reset(new (std::nothrow) zr::IdSet);
  for (const ZrPolicyResult* result : set.m_setResult) {
    if (!set.m_pIds) return;
    noteId(set.m_pIds, result->getPolicyID());
  }
}

bool walkFor(const ZrPolicyResultSet& set, std::int32_t policyId) {
  for (const ZrPolicyResult* result : set.m_setResult) {
    if (result->getPolicyID() == policyId) return true;
  }
  return false;
}

// Whether the set has a result for the policy. A walk over the results, which throws when the set is out of date; once
// there are more than a handful a table answers instead, as long as it has as many IDs as there are results.
bool holdsPolicy(ZrPolicyResultSet& set, std::int32_t policyId) {
  const std::size_t size = set.m_setResult.size();
  if (set.m_pIds && set.m_pIds->size() == size) {
    if (!set.isDataOK()) throw kNoPolicyId;
    return set.m_pIds->contains(policyId);
  }
  if (walkFor(set, policyId)) return true;
  if (size >= kHandful) noteAll(set);
  return false;
}

}  // namespace

bool ZrPolicyResult::operator()(const ZrPolicyResult* a, const ZrPolicyResult* b) const {
  return a->getPriority() < b->getPriority();
}

std::int32_t ZrPolicyResult::getPolicyType() const {
  return available(m_pEPLink, m_pResultSet, "Policy type is not available anymore")->m_pPolicy->m_policyType;
}

std::int32_t ZrPolicyResult::getPolicyID() const {
  return available(m_pEPLink, m_pResultSet, kNoPolicyId)->m_pPolicy->m_policyId;
}

const char* ZrPolicyResult::getPolicyName() const {
  return available(m_pEPLink, m_pResultSet, "Policy name is not available anymore")->m_pPolicy->m_policyName.c_str();
}

const char* ZrPolicyResult::getEntityName() const {
  return available(m_pEPLink, m_pResultSet, "Entity name is not available anymore")->m_entityName.c_str();
}

ZrPolicyCache::EntityType ZrPolicyResult::getEntityType() const {
  return available(m_pEPLink, m_pResultSet, "Entity type is not available anymore")->m_entityType;
}

std::int32_t ZrPolicyResult::getPriority() const {
  return available(m_pEPLink, m_pResultSet, "Policy priority information is not available anymore")->m_priority;
}

ZrRule* ZrPolicyResult::getRule() const {
  return available(m_pRule, m_pResultSet, "Rule object is not available anymore");
}

ZrPolicyResultSet::ZrPolicyResultSet() : m_itCurrent(m_setResult.begin()) {}

ZrPolicyResultSet::~ZrPolicyResultSet() {
  cleanup();
}

void ZrPolicyResultSet::setRefInfo(ZrPolicyCache* cache, unsigned int generation) {
  m_pCache = cache;
  m_refGeneration = generation;
}

bool ZrPolicyResultSet::isDataOK() const {
  return m_pCache != nullptr && m_pCache->m_generation == m_refGeneration;
}

std::size_t ZrPolicyResultSet::getSize() const {
  if (!isDataOK()) throw "The resultset is out of date case 1";
  return m_setResult.size();
}

ZrPolicyResult* ZrPolicyResultSet::getTopPriorityResult() {
  if (!isDataOK()) throw "The resultset is out of date case 3";
  m_itCurrent = m_setResult.begin();
  if (m_itCurrent == m_setResult.end()) return nullptr;
  m_bRestart = false;
  return *m_itCurrent;
}

ZrPolicyResult* ZrPolicyResultSet::getNextResult() {
  if (!isDataOK()) throw "The resultset is out of date case 2";
  if (m_bRestart) return getTopPriorityResult();
  if (m_itCurrent != m_setResult.end()) ++m_itCurrent;
  return m_itCurrent != m_setResult.end() ? *m_itCurrent : nullptr;
}

void ZrPolicyResultSet::addResult(ZrEPLink* link, ZrRule* rule) {
  if (holdsPolicy(*this, link->m_policyId)) return;
  try {
    auto result = std::make_unique<ZrPolicyResult>();
    result->m_pEPLink = link;
    result->m_pRule = rule;
    result->m_pResultSet = this;
    m_setResult.insert(result.get());
    (void)result.release();  // the set's from here on
  } catch (const std::bad_alloc&) {
    throw "Failed to allocate resource for ZrPolicyResult";
  }
  // A table that falls behind is left alone: its number of IDs tells.
  const bool upToDate = m_pIds && m_pIds->size() + 1 == m_setResult.size();
  if (upToDate && link->m_pPolicy != nullptr) noteId(m_pIds, link->m_pPolicy->m_policyId);
}

void ZrPolicyResultSet::cleanup() {
  for (const ZrPolicyResult* result : m_setResult)
    delete result;
  m_setResult.clear();
  m_itCurrent = m_setResult.end();
  m_bRestart = true;
  m_refGeneration = 0;
  m_pCache = nullptr;
  m_pIds.reset();
}
