#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/load/GroupMembers.h"
#include "host/load/LinkIndex.h"
#include "host/load/LoadReport.h"
#include "host/rows/RowSource.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// One loaded state of the policies, which never changes: whoever holds it may ask it while newer ones are loaded. The
// last holder frees it, which takes a while for a large one.
//
// Threads: everything here may be called by any number of threads at once, each with a result set of its own.
class Snapshot {
 public:
  // Loads all that a source has; rows that cannot be used are left out and reported. Logs the first ten of these as
  // warnings, and what was loaded as information, unless the options say otherwise.
  // Throws what the source throws, and HostError kBadRow (a refused row, when the options are strict) or kInternal (no
  // memory).
  static std::shared_ptr<const Snapshot> load(RowSource& source, const LoadOptions& options = {});

  // What the load did, and the revision that was read.
  const LoadReport& report() const { return m_report; }
  // A number that no other snapshot of this process has; never 0.
  std::uint32_t generation() const { return m_cache.m_generation; }
  // For reading the containers.
  const ZrPolicyCache& cache() const { return m_cache; }
  const GroupMembers& members() const { return m_members; }
  // Null unless the options asked for one.
  const LinkIndex* index() const { return m_index.get(); }

  // A key as a lookup of this type searches it: in lower case ("POP3_Mail_Sender" excepted), a host name in upper case.
  static std::string searched(ZrPolicyCache::EntityType type, std::string key);

  // The groups of a user, whose name is searched as lookups search it. Valid as long as the snapshot is.
  GroupMembers::Groups groupsOf(std::string_view user) const;
  // The name of a group, ended by a zero byte.
  const char* groupName(GroupMembers::Group group) const { return m_members.name(group); }

  // The lookups of ZrPolicyCache; they throw as it does, and write nothing but the results. `results` is bound first,
  // and holds pointers into the snapshot: it must not outlive it.
  void bind(ZrPolicyResultSet& results) const;
  void lookUp(ZrPolicyCache::EntityType type, const char* key, ZrPolicyResultSet& results) const;
  void lookUpRanges(const char* address, ZrPolicyResultSet& results) const;
  void lookUpAll(ZrPolicyResultSet& results) const;
  void lookUpDefault(ZrPolicyResultSet& results) const;

 private:
  Snapshot() = default;
  void fill(RowSource& source, const LoadOptions& options);

  // The library's lookups are no const operations although they write nothing to the cache. Nothing else is done to it
  // once it is filled.
  mutable ZrPolicyCache m_cache;
  GroupMembers m_members;
  LoadReport m_report;
  std::unique_ptr<const LinkIndex> m_index;
};

}  // namespace zrhost
