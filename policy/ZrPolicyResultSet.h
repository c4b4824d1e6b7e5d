#ifndef ZR_POLICY_ZRPOLICYRESULTSET_H
#define ZR_POLICY_ZRPOLICYRESULTSET_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

#include "policy/ZrPolicyCache.h"
#include "support/export.h"

class ZrPolicyResultSet;

namespace zr {
struct SetIndex;
}

// One policy that applies: the link that matched and the rule selected of its policy. A result copies nothing; it
// points into the cache.
//
// Ownership: created and deleted by its result set; it owns nothing. Links, policies and rules are the cache's.
// Failures: each accessor checks that the set is valid (ZrPolicyResultSet::isDataOK) and that its pointer is not null,
// and throws the text given beside it, as const char*, when not. Texts returned live until the cache purges its links
// and policies; the caller never frees them.
// Threads: as for the result set.
class ZR_EXPORT ZrPolicyResult {
 public:
  ZrPolicyResult() = default;

  // The order of results: whether the first has the smaller priority. Throws what getPriority throws.
  bool operator()(const ZrPolicyResult* a, const ZrPolicyResult* b) const;

  std::int32_t getPolicyType() const;               // "Policy type is not available anymore"
  std::int32_t getPolicyID() const;                 // "policy ID is not available anymore"
  const char* getPolicyName() const;                // "Policy name is not available anymore"
  const char* getEntityName() const;                // "Entity name is not available anymore"
  ZrPolicyCache::EntityType getEntityType() const;  // "Entity type is not available anymore"
  std::int32_t getPriority() const;                 // "Policy priority information is not available anymore"
  ZrRule* getRule() const;                          // "Rule object is not available anymore"; also for a null rule

  // The link that matched; for the default policy the cache's own default link.
  ZrEPLink* m_pEPLink = nullptr;
  // The selected rule; may be null when a host called addResult so.
  ZrRule* m_pRule = nullptr;
  // The set that holds this result.
  ZrPolicyResultSet* m_pResultSet = nullptr;
};

// The policies that apply to an entity, one result for each, in ascending order of their links' priorities; results of
// equal priority stand in the order in which they were added.
//
// The host binds a set to a cache (setRefInfo), has lookups add to it, walks it, and uses it again after cleanup. A new
// set is empty and bound to nothing. A set is valid while the generation of its cache is the one that it was bound
// with: once the host has changed that, walking and the results' accessors throw, while cleanup, setRefInfo and
// destruction still work.
//
// Ownership: the set is the host's; it owns its results, and nothing that they point at. The cache must outlive its
// use. Threads: no locks. A set belongs to one thread at a time; any number of sets may be filled from one cache at
// once. Failures: thrown as const char*, static text, never freed by the catcher.
class ZR_EXPORT ZrPolicyResultSet {
 public:
  ZrPolicyResultSet();
  virtual ~ZrPolicyResultSet();
  ZrPolicyResultSet(const ZrPolicyResultSet&) = delete;
  ZrPolicyResultSet& operator=(const ZrPolicyResultSet&) = delete;

  // Binds the set to a cache and the cache's current generation. Called by the host before the first lookup; the
  // lookups do not call it.
  void setRefInfo(ZrPolicyCache* cache, unsigned int generation);

  // Whether the set is valid.
  bool isDataOK() const;

  // The number of results. Throws "The resultset is out of date case 1" when the set is not valid.
  std::size_t getSize() const;

  // Starts the walk: the result of the top priority, null when there is none. Throws "The resultset is out of date
  // case 3" when the set is not valid.
  ZrPolicyResult* getTopPriorityResult();

  // The next result of the walk, null behind the last one and at every call from then on. The first after construction
  // or cleanup is the result of the top priority. Throws "The resultset is out of date case 2" when the set is not
  // valid.
  ZrPolicyResult* getNextResult();

  // Adds a result unless the set holds one for the policy link->m_policyId already: the first stays, whatever the
  // priorities. The lookups call it; link must not be null and must point at its policy, rule may be null.
  //
  // Throws
  //   "Failed to allocate resource for ZrPolicyResult"  memory ran out
  //   "policy ID is not available anymore"              the set is not valid and holds a result (the first one is added
  //                                                     without a check)
  // Either way the set is unchanged.
  //
  // The policies of the results are those of their links now: a link that was pointed at another policy meanwhile is
  // noticed. Above 32 results that costs a look at each for every call, while a lookup of the cache looks once, however
  // many results it adds. Elements of m_setResult that were added or removed by hand are noticed by their number, and
  // the results are then walked until cleanup.
  void addResult(ZrEPLink* link, ZrRule* rule);

  // Takes all results out of the set, which deletes them or, up to 1,024, keeps their memory for those to come, and
  // unbinds it, as if new. Throws nothing.
  void cleanup();

  // The results; the set owns them.
  std::multiset<ZrPolicyResult*, ZrPolicyResult> m_setResult;
  // Where the walk stands; its end before the first step and behind the last result.
  std::multiset<ZrPolicyResult*, ZrPolicyResult>::iterator m_itCurrent;
  // Whether getNextResult starts from the top.
  bool m_bRestart = true;
  // The generation that the results belong to.
  std::uint32_t m_refGeneration = 0;
  // The cache that the results point into; not owned. Null while the set is bound to none.
  ZrPolicyCache* m_pCache = nullptr;
  // The library's own: what finds the policies of the results faster than a walk does, and the memory of results.
  std::unique_ptr<zr::SetIndex> m_pIds;
};

#endif  // ZR_POLICY_ZRPOLICYRESULTSET_H
