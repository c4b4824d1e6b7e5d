#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "host/load/GroupMembers.h"
#include "host/load/LoadReport.h"
#include "host/rows/RowSink.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// Fills a policy cache and the members of groups from rows. A row that cannot be used (a NULL, a text that is no
// number, a number out of range, an unknown policy, a name that no question can hold) or that the cache refuses is left
// out and reported, and what was built for it is freed. Host names end up in upper case, as the cache files them.
//
// The sink keeps no rows: cache and members are all the memory that grows. What it was made of must outlive it.
class CacheSink : public RowSink {
 public:
  CacheSink(ZrPolicyCache& cache, GroupMembers& members, const LoadOptions& options, LoadReport& report);
  void onRevision(const Revision& revision) override;
  void onPolicy(PolicyRow& row) override;
  void onRule(RuleRow& row) override;
  void onLink(LinkRow& row) override;
  void onMember(MemberRow& row) override;

 private:
  void refuse(const char* table, const std::string& key, const std::string& reason);
  void countRow();

  ZrPolicyCache& m_cache;
  GroupMembers& m_members;
  const LoadOptions& m_options;
  LoadReport& m_report;
  std::uint64_t m_rows = 0;
  std::pair<std::int64_t, std::int64_t> m_lastRule{INT64_MIN, 0};  // policy and position, to notice a second one
};

}  // namespace zrhost
