#include "policy/ZrPolicyResultSet.h"

#include <new>

#include "policy/accessors_internal.h"
#include "policy/set_index_internal.h"

using zr::available;

namespace {

void deleteAll(zr::SpareResults::Container& results) {
  for (const ZrPolicyResult* result : results)
    delete result;
  results.clear();
}

}  // namespace

std::int32_t ZrPolicyResult::getPolicyType() const {
  return available(m_pEPLink, m_pResultSet, "Policy type is not available anymore")->m_pPolicy->m_policyType;
}

std::int32_t ZrPolicyResult::getPolicyID() const {
  return zr::policyIdOf(*this);
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
  return zr::priorityOf(*this);
}

ZrRule* ZrPolicyResult::getRule() const {
  return available(m_pRule, m_pResultSet, "Rule object is not available anymore");
}

ZrPolicyResultSet::ZrPolicyResultSet() : m_itCurrent(m_setResult.begin()) {}

ZrPolicyResultSet::~ZrPolicyResultSet() {
  deleteAll(m_setResult);
}

void ZrPolicyResultSet::setRefInfo(ZrPolicyCache* cache, unsigned int generation) {
  m_pCache = cache;
  m_refGeneration = generation;
}

bool ZrPolicyResultSet::isDataOK() const {
  return zr::isValid(*this);
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

// A set that is cleaned up, rather than destroyed, will be filled again.
void ZrPolicyResultSet::cleanup() {
  if (!m_pIds && !m_setResult.empty()) m_pIds.reset(new (std::nothrow) zr::SetIndex);
  if (m_pIds) {
    m_pIds->ids.clear();
    m_pIds->spare.keep(m_setResult);
  }
  deleteAll(m_setResult);
  m_itCurrent = m_setResult.end();
  m_bRestart = true;
  m_refGeneration = 0;
  m_pCache = nullptr;
}
