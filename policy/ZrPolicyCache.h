#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "policy/ZrEPLink.h"
#include "policy/ZrEntityType.h"
#include "policy/ZrPolicy.h"
#include "support/export.h"

class ZrPolicyResultSet;

class ZR_EXPORT ZrPolicyCache {
 public:
  using EntityType = ZrEntityType;
  static constexpr EntityType DEFAULT = ZR_ENTITY_DEFAULT;
  static constexpr EntityType USER = ZR_ENTITY_USER;
  static constexpr EntityType GROUP = ZR_ENTITY_GROUP;
  static constexpr EntityType HOSTNAME = ZR_ENTITY_HOSTNAME;
  static constexpr EntityType IP = ZR_ENTITY_IP;
  static constexpr EntityType IP_RANGE = ZR_ENTITY_IP_RANGE;
  static constexpr EntityType OTHER = ZR_ENTITY_OTHER;

  ZrPolicyCache();
  virtual ~ZrPolicyCache();
  ZrPolicyCache(const ZrPolicyCache&) = delete;
  ZrPolicyCache& operator=(const ZrPolicyCache&) = delete;

  void addPolicy(ZrPolicy* policy);
  void addEPLink(ZrEPLink* pEPLink);
  std::string UnescapeLatinHtmlUnicode(std::string& text);
  bool hasPolicyContainLDAPSetting();
  void purgePolicyList();
  void purgeEPLinkList();
  void cleanup();
  void reindex();

  void lookupPolicy(EntityType iType, char* pszKey, ZrPolicyResultSet* pResultSet);
  void lookupPolicyIpRange(char* pszKey, ZrPolicyResultSet* pResultSet);
  void lookupAllPolicy(ZrPolicyResultSet* pResultSet);
  void getDefaultPolicy(ZrPolicyResultSet* pResultSet);

  ZrEPLink m_defaultLink;
  std::int32_t m_reserved = 0;
  std::uint32_t m_generation = 0;
  std::multimap<std::string, ZrEPLink*> m_mapUser;
  std::multimap<std::string, ZrEPLink*> m_mapGroup;
  std::multimap<std::string, ZrEPLink*> m_mapHostname;
  std::multimap<std::string, ZrEPLink*> m_mapOther;
  std::multimap<unsigned long, ZrEPLink*> m_mapIp;
  std::vector<ZrEPLink*> m_vecIpRange;
  std::map<int, ZrPolicy*> m_mapPolicy;
};
