#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

#include "policy/ZrPolicyCache.h"
#include "support/export.h"

class ZrPolicyResultSet;

class ZR_EXPORT ZrPolicyResult {
 public:
  ZrPolicyResult() = default;

  bool operator()(const ZrPolicyResult* a, const ZrPolicyResult* b) const;

  std::int32_t getPolicyType() const;
  std::int32_t getPolicyID() const;
  const char* getPolicyName() const;
  const char* getEntityName() const;
  ZrPolicyCache::EntityType getEntityType() const;
  std::int32_t getPriority() const;
  ZrRule* getRule() const;

  ZrEPLink* m_pEPLink = nullptr;
  ZrRule* m_pRule = nullptr;
  ZrPolicyResultSet* m_pResultSet = nullptr;
};

class ZR_EXPORT ZrPolicyResultSet {
 public:
  ZrPolicyResultSet();
  virtual ~ZrPolicyResultSet();
  ZrPolicyResultSet(const ZrPolicyResultSet&) = delete;
  ZrPolicyResultSet& operator=(const ZrPolicyResultSet&) = delete;

  void setRefInfo(ZrPolicyCache* cache, unsigned int generation);
  bool isDataOK() const;
  std::size_t getSize() const;
  ZrPolicyResult* getTopPriorityResult();
  ZrPolicyResult* getNextResult();
  void addResult(ZrEPLink* link, ZrRule* rule);
  void cleanup();

  std::multiset<ZrPolicyResult*, ZrPolicyResult> m_setResult;
  std::multiset<ZrPolicyResult*, ZrPolicyResult>::iterator m_itCurrent;
  bool m_bRestart = true;
  std::uint32_t m_refGeneration = 0;
  ZrPolicyCache* m_pCache = nullptr;
};
