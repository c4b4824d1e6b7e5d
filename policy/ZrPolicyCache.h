#ifndef ZR_POLICY_ZRPOLICYCACHE_H
#define ZR_POLICY_ZRPOLICYCACHE_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "policy/ZrEPLink.h"
#include "policy/ZrEntityType.h"
#include "policy/ZrPolicy.h"
#include "support/export.h"

class ZrPolicyResultSet;

namespace zr {
struct CacheIndex;
}

// One complete set of policies and of the links that bind entities to them, in memory, and the lookups that answer
// which policies apply to an entity.
//
// The host adds all policies, then all links, then asks. To reload it calls cleanup, fills the cache again and changes
// m_generation, so that result sets filled before hand out nothing more.
//
// Ownership: the cache owns every policy and link that was added without an exception, and deletes them with delete
// when they are purged; one that was refused stays the caller's. Results point into the cache. Threads: no locks.
// Adding, purging, reindex and destruction need the cache alone; the lookups and hasPolicyContainLDAPSetting write
// nothing and may run in any number of threads at once, each with a result set of its own. Failures: fixed texts are
// thrown as const char*, texts formatted at run time as char*. Those live in storage of the throwing thread, readable
// until the same thread throws the same kind of text again. No catcher frees either.
//
// Hosts may read the containers. They change them through the operations; a host that edits a container, or a filed
// link's entity or addresses, by hand calls reindex afterwards.
class ZR_EXPORT ZrPolicyCache {
 public:
  using EntityType = ZrEntityType;
  static constexpr EntityType DEFAULT = ZrEntityType::DEFAULT;
  static constexpr EntityType USER = ZrEntityType::USER;
  static constexpr EntityType GROUP = ZrEntityType::GROUP;
  static constexpr EntityType HOSTNAME = ZrEntityType::HOSTNAME;
  static constexpr EntityType IP = ZrEntityType::IP;
  static constexpr EntityType IP_RANGE = ZrEntityType::IP_RANGE;
  static constexpr EntityType OTHER = ZrEntityType::OTHER;

  // An empty cache without a default policy, of generation 0. Throws std::bad_alloc when memory runs out.
  ZrPolicyCache();
  // As cleanup, then frees the containers. Lets no exception out.
  virtual ~ZrPolicyCache();
  ZrPolicyCache(const ZrPolicyCache&) = delete;
  ZrPolicyCache& operator=(const ZrPolicyCache&) = delete;

  // Takes over a policy, not null, under its m_policyId. One with m_isDefault set becomes the default policy too, in
  // place of an earlier one, which stays a policy like any other.
  //
  // Throws, as const char*, with the cache unchanged (its default policy included) and the policy the caller's
  //   "Failed to insert Policy object into m_mapPolicy"  there is a policy of that ID
  //   "ZrPolicyCache::addPolicy(), std::bad_alloc"       memory ran out
  void addPolicy(ZrPolicy* policy);

  // Takes over a link: sets its m_pPolicy to the policy of its m_policyId and files it by its type.
  //   USER, GROUP  by its name with HTML numeric entities decoded; m_entityName keeps them
  //   HOSTNAME     by its name, which is changed to upper case (toupper, in the process's locale)
  //   IP           by its address, which convertIP reads; a second address is read too, without effect
  //   IP_RANGE     behind the ranges added before, its addresses read by convertIP
  //   OTHER        by its name as it is
  // Links of one key keep the order in which they were added.
  //
  // Throws, as const char* but for the second, with the link not filed and the caller's
  //   "NULL pEPLink link pointer"                     the link is null
  //   "PolicyID is not valid [%d]" (char*)            no policy of that ID was added before; the link is unchanged
  //   "Unknow entity type"                            the type is DEFAULT or no enumerator
  //   what ZrEPLink::convertIP throws                 IP, IP_RANGE: bad addresses
  //   "Failed to add pEPLink into m_vecIpRange"       IP_RANGE: memory ran out
  //   " ZrPolicyCache::addEPLink(), std::bad_alloc"   the others: memory ran out (mind the blank in front); a host
  //                                                   name may be in upper case already
  // From the third on the link's m_pPolicy is set.
  void addEPLink(ZrEPLink* pEPLink);

  // Decodes HTML numeric entities: "&#", a decimal number as strtol reads it (cut to 32 bits), anything, ";". The low 8
  // bits of the number are a Latin-1 character, which becomes its two bytes of UTF-8: "Ren&#233;" is answered as the
  // UTF-8 of René. If one entity has low bits below 128 (as a hexadecimal one has, which reads as 0) or no ";" behind
  // it, the whole text is answered unchanged. Entities behind a zero byte are not seen. `text` is not changed. Throws
  // std::bad_alloc when memory runs out.
  std::string UnescapeLatinHtmlUnicode(std::string& text);

  // Whether any policy has a rule with an LDAP setting; asks in ascending order of IDs and stops at the first that has.
  bool hasPolicyContainLDAPSetting();

  // Clears the default policy, then deletes every policy, in ascending order of IDs, and its entry with it: what a
  // destructor of the host's finds in the cache is not deleted yet, but for itself. The links stay, and point at
  // policies that are gone: purge both, as cleanup does.
  void purgePolicyList();

  // Deletes every link: m_mapUser, m_mapGroup, m_mapHostname, m_mapIp, m_vecIpRange, m_mapOther, each front to back,
  // and its entry with it; those of m_vecIpRange become null one by one and go together. The policies stay.
  void purgeEPLinkList();

  // purgePolicyList, then purgeEPLinkList. Lets no exception out. m_generation is left alone.
  void cleanup();

  // Looks at the containers and the links' addresses as they are now: call it after editing any of them by hand.
  // Elements that were added or removed without it are noticed by their number, and that container is then searched
  // element by element, as it stands, until it is reindexed or purged. Edits that keep the number are not noticed. Also
  // worth calling once after many ranges were added: it arranges them in the best way. Costs a sort of the ranges and a
  // walk over the rest; when memory runs out, containers are searched without an index. Throws nothing.
  void reindex();

  // Adds to pResultSet every link of type iType whose key equals pszKey (zero-terminated, not changed), in the order in
  // which they were added, unless its policy has no selected rule (ZrPolicy::getRuleByDateTime). The set keeps the
  // first of each policy. It is neither cleared nor bound to the cache here.
  //
  // The key is first changed to lower case, unless it is exactly "POP3_Mail_Sender": a USER, GROUP or OTHER link whose
  // own key has any other capital is never found. HOSTNAME searches in upper case; IP searches the address that
  // inet_addr reads; IP_RANGE searches nothing (see lookupPolicyIpRange).
  //
  // Type DEFAULT, a null or empty key or a null set: logs "[ERROR]ZrPolicyCache::lookupPolicy() query parameter error."
  // at level 1 and does nothing else. Traces at level 4: entry (a null key as "(null)"), exit, one line a USER link.
  //
  // Throws, with the results added before still in the set and without the exit trace
  //   std::bad_alloc                        memory ran out for a copy of a long key
  //   "Unknow entity type [%d]" (char*)     iType is no enumerator; at most 127 characters
  //   "ZrPolicyCache::lookupRule() unknow error, iType:[%d], pszKey:[%s]" (char*)
  //                                         an address that is none or is 255.255.255.255, memory ran out, or
  //                                         addResult refused; with the changed key, at most 255 characters
  void lookupPolicy(EntityType iType, char* pszKey, ZrPolicyResultSet* pResultSet);

  // Adds to pResultSet every range that holds the address pszKey (as inet_addr reads it), bounds included, in the order
  // in which the ranges were added; otherwise as lookupPolicy. Logs nothing. A null or empty key or a null set: does
  // nothing. Where few ranges match, costs the logarithm of their number, and the matching ones; above one match in 64
  // ranges, or 128 in all, a look at each range's addresses, which stand in one piece. Allocates only for results.
  //
  // Throws, with the results added before still in the set
  //   "Invalid IP address" (const char*)      pszKey is no address or is 255.255.255.255
  //   "ZrPolicyCache::lookupRuleIpRange(), std::bad_alloc, pszKey:[%s]" (char*)
  //                                           std::bad_alloc came up while adding; at most 255 characters
  //   what ZrPolicyResultSet::addResult throws
  void lookupPolicyIpRange(char* pszKey, ZrPolicyResultSet* pResultSet);

  // Adds to pResultSet every USER, then GROUP, then OTHER link, each in the order of their keys; otherwise as
  // lookupPolicy. A null set: logs "ZrPolicyCache::lookupAllPolicy() query parameter error\n" at level 1 and does
  // nothing else. Traces at level 4: entry, one line for each of the three types, one line a USER link.
  //
  // Throws "ZrPolicyCache::lookupAllPolicy() unknow error" (char*) for whatever addResult throws, with the results
  // added before still in the set.
  void lookupAllPolicy(ZrPolicyResultSet* pResultSet);

  // Adds the default link to pResultSet, which must not be null, if there is a default policy and it has a selected
  // rule. Logs nothing. Throws what ZrPolicyResultSet::addResult throws.
  void getDefaultPolicy(ZrPolicyResultSet* pResultSet);

  // The link that stands for the default policy: "Default Policy", of type DEFAULT and priority 2147483647. Its
  // m_pPolicy is null while there is none.
  ZrEPLink m_defaultLink;
  // The host's; the library never reads it.
  std::int32_t m_reserved = 0;
  // The host's number for the present content; result sets bound to another one are out of date. The library never
  // changes it.
  std::uint32_t m_generation = 0;
  // The links by key; owned. Within one key they stand in the order in which they were added.
  std::multimap<std::string, ZrEPLink*> m_mapUser;
  std::multimap<std::string, ZrEPLink*> m_mapGroup;
  std::multimap<std::string, ZrEPLink*> m_mapHostname;
  std::multimap<std::string, ZrEPLink*> m_mapOther;
  // By m_ipFrom, in network byte order as inet_addr gives it.
  std::multimap<unsigned long, ZrEPLink*> m_mapIp;
  // The range links in the order in which they were added; owned.
  std::vector<ZrEPLink*> m_vecIpRange;
  // Every policy by its ID, the default policy included; owned.
  std::map<int, ZrPolicy*> m_mapPolicy;
  // The library's own: what finds links faster than the containers do.
  std::unique_ptr<zr::CacheIndex> m_pIndex;
};

#endif  // ZR_POLICY_ZRPOLICYCACHE_H
