#pragma once

#include <cstdint>
#include <string>

#include "policy/ZrEntityType.h"
#include "support/export.h"

class ZrPolicy;

class ZR_EXPORT ZrEPLink {
 public:
  ZrEPLink() = default;
  ZrEPLink(const ZrEPLink&) = default;
  ZrEPLink& operator=(const ZrEPLink&) = default;
  virtual ~ZrEPLink();

  void convertIP();

  std::int32_t m_priority = 0;
  ZrEntityType m_entityType = ZR_ENTITY_DEFAULT;
  std::int32_t m_policyId = 0;
  std::string m_entityName;
  std::uint32_t m_ipFrom = 0;
  std::uint32_t m_ipTo = 0;
  ZrPolicy* m_pPolicy = nullptr;
};
