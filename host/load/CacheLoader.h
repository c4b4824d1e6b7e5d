#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "host/base/HostError.h"
#include "host/rows/RowSource.h"
#include "policy/ZrPolicyCache.h"

namespace zrhost {

// A row that was left out: the table, the row's key as text ("policy_id 7", "policy_id 7, position 2", "link_id 12"),
// and why (the text that the cache threw, or which column holds what).
struct RefusedRow {
  std::string table;
  std::string key;
  std::string reason;

  // "TABLE, KEY: REASON"
  std::string text() const;
};

struct LoadOptions {
  bool strict = false;  // the first refused row is fatal: HostError kBadRow with its text
  std::function<void(const RefusedRow&)> onRefused{};         // each refused row, as it is met; may be empty
  std::function<void(std::uint64_t rowsSoFar)> onProgress{};  // now and then (every 1,024 rows); may be empty
};

// What a load did. The numbers count what the cache took.
struct LoadReport {
  Revision revision;
  std::uint64_t policies = 0;
  std::uint64_t rules = 0;
  std::array<std::uint64_t, 7> linksByType{};  // indexed by ZrPolicyCache::EntityType
  std::uint64_t refused = 0;
  std::uint64_t links() const;
};

// Fills a policy cache from rows. A row that cannot be used (a NULL, a text that is no number, a number out of range,
// an unknown policy) or that the cache refuses is left out and reported, and what was built for it is freed. Host names
// end up in upper case, as the cache files them.
//
// The sink keeps no rows: the cache is all the memory that grows. The cache and the report must outlive the sink.
class CacheSink : public RowSink {
 public:
  CacheSink(ZrPolicyCache& cache, const LoadOptions& options, LoadReport& report);
  void onRevision(const Revision& revision) override;
  void onPolicy(PolicyRow& row) override;
  void onRule(RuleRow& row) override;
  void onLink(LinkRow& row) override;
  void onMember(MemberRow& row) override;

 private:
  void refuse(const char* table, const std::string& key, const std::string& reason);
  void countRow();

  ZrPolicyCache& m_cache;
  const LoadOptions& m_options;
  LoadReport& m_report;
  std::uint64_t m_rows = 0;
  std::pair<std::int64_t, std::int64_t> m_lastRule{INT64_MIN, 0};  // policy and position, to notice a second one
};

// Fills a fresh cache from a source of rows, while older ones go on serving. Its m_generation is a number that no other
// cache of this process got from here, never 0. `report` is filled as far as the load came, also when it throws: what
// the source throws, and HostError kBadRow (strict) or kInternal (no memory).
std::unique_ptr<ZrPolicyCache> loadCache(RowSource& source, const LoadOptions& options, LoadReport& report);

}  // namespace zrhost
