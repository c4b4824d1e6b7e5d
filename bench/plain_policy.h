#ifndef ZR_BENCH_PLAIN_POLICY_H
#define ZR_BENCH_PLAIN_POLICY_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "policy/ZrPolicyCache.h"

// Cache and result set as one would write them first: the containers of the library and nothing beside them. The same
// policies and links, answers and checks. What the library is measured against.
namespace plain {

class ResultSet;

struct Result {
  bool operator()(const Result* a, const Result* b) const { return a->getPriority() < b->getPriority(); }
  std::int32_t getPolicyID() const;
  std::int32_t getPriority() const;

  ZrEPLink* m_pEPLink = nullptr;
  ZrRule* m_pRule = nullptr;
  ResultSet* m_pResultSet = nullptr;
};

// Does not own its links, which belong to a cache of the library's.
class Cache {
 public:
  void addEPLink(ZrEPLink* link);
  void lookupPolicy(ZrPolicyCache::EntityType type, const char* key, ResultSet* results) const;
  void lookupPolicyIpRange(const char* key, ResultSet* results) const;
  void getDefaultPolicy(ResultSet* results) const { addLink(m_pDefaultLink, results); }
  static void addLink(ZrEPLink* link, ResultSet* results);

  ZrEPLink* m_pDefaultLink = nullptr;
  std::uint32_t m_generation = 0;

 private:
  using Names = std::multimap<std::string, ZrEPLink*>;

  Names m_mapUser;
  Names m_mapGroup;
  Names m_mapHostname;
  Names m_mapOther;
  std::multimap<unsigned long, ZrEPLink*> m_mapIp;
  std::vector<ZrEPLink*> m_vecIpRange;
};

class ResultSet {
 public:
  ResultSet() = default;
  ~ResultSet() { cleanup(); }
  ResultSet(const ResultSet&) = delete;
  ResultSet& operator=(const ResultSet&) = delete;

  void setRefInfo(const Cache* cache, std::uint32_t generation);
  bool isDataOK() const { return m_pCache != nullptr && m_pCache->m_generation == m_refGeneration; }
  void addResult(ZrEPLink* link, ZrRule* rule);
  void cleanup();

 private:
  std::multiset<Result*, Result> m_setResult;
  std::uint32_t m_refGeneration = 0;
  const Cache* m_pCache = nullptr;
};

}  // namespace plain

#endif  // ZR_BENCH_PLAIN_POLICY_H
