#ifndef ZR_POLICY_ZREPLINK_H
#define ZR_POLICY_ZREPLINK_H

#include <cstdint>
#include <string>

#include "policy/ZrEntityType.h"
#include "support/export.h"

class ZrPolicy;

// An endpoint link: binds one entity (a user, a group, a host name, an address, a range or some other key) to one
// policy, with a priority.
//
// Ownership: created with new by the host, filled, and handed to ZrPolicyCache::addEPLink, which owns it unless it
// throws. A link never owns its policy. Copies are independent of one another.
// Threads: no locks. Reading may go on in several threads at once; convertIP and every change need the link alone.
class ZR_EXPORT ZrEPLink {
 public:
  ZrEPLink() = default;
  ZrEPLink(const ZrEPLink&) = default;
  ZrEPLink& operator=(const ZrEPLink&) = default;

  // Leaves the policy alone.
  virtual ~ZrEPLink();

  // Parses m_entityName into m_ipFrom and, when it holds two addresses, m_ipTo. The cache calls it for links of the
  // types IP and IP_RANGE.
  //
  // The text is one word of at most 15 characters, or two of them with a tilde in between: "10.0.0.1 ~ 10.0.0.9", where
  // the tilde must follow a blank or the 15th character of the first word ("10.0.0.1~10.0.0.9" is one bad word).
  // Whatever follows is ignored, so "10.0.0.1 10.0.0.9" is one address. Each word is read as inet_addr does: one to
  // four parts, decimal, octal with a leading 0 or hexadecimal with 0x. A single address leaves m_ipTo as it was; a
  // text of white space alone changes nothing. The order of the two addresses is not checked.
  //
  // Throws, as const char*
  //   "Empty string without IP address value"  m_entityName is empty; nothing changed
  //   "Invalid IP address - 1"                 the first word is no address or is 255.255.255.255; nothing changed
  //   "Invalid IP address - 2"                 the same of the second word; m_ipFrom is set, m_ipTo as it was
  void convertIP();

  // Precedence: results are ordered by ascending priority, so the smallest value is the top priority. The cache's
  // default link has the largest value, 2147483647.
  std::int32_t m_priority = 0;
  // What kind of entity the link binds, and so where the cache files it.
  ZrEntityType m_entityType = ZrEntityType::DEFAULT;
  // The policy's number, set by the host; the cache finds the policy by it. Result sets keep one result for each
  // number.
  std::int32_t m_policyId = 0;
  // The entity in text: a name, possibly with HTML numeric entities (USER, GROUP); a host name, which the cache changes
  // to upper case; one or two addresses as convertIP takes them (IP, IP_RANGE); any key (OTHER).
  std::string m_entityName;
  // The (first) address, in network byte order as inet_addr gives it. Set by convertIP.
  std::uint32_t m_ipFrom = 0;
  // The last address of a range, in the same form. Set by convertIP.
  std::uint32_t m_ipTo = 0;
  // The policy; not owned. Set by the cache when the link is added, valid while the cache holds the policy.
  ZrPolicy* m_pPolicy = nullptr;
};

#endif  // ZR_POLICY_ZREPLINK_H
