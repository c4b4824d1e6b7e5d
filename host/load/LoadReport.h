#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "host/rows/Rows.h"

namespace zrhost {

// A row that was left out: the table, the row's key as text ("policy_id 7", "policy_id 7, position 2", "link_id 12",
// "group_name 'staff', user_name 'john'"), and why (the text that the cache threw, or which column holds what).
struct RefusedRow {
  std::string table;
  std::string key;
  std::string reason;

  // "TABLE, KEY: REASON"
  std::string text() const;
};

struct LoadOptions {
  bool strict = false;  // the first refused row is fatal: HostError kBadRow with its text
  bool logs = true;     // the first refused rows, and what was loaded
  std::function<void(const RefusedRow&)> onRefused{};         // each refused row, as it is met; may be empty
  std::function<void(std::uint64_t rowsSoFar)> onProgress{};  // now and then (every 1,024 rows); may be empty
  bool indexLinks = false;                                    // the snapshot gets a LinkIndex, for asking often
  bool keepLinkIds = false;  // the links are SqlLinks, which cost some 16 bytes more each
};

// What a load did. The numbers count what was taken.
struct LoadReport {
  Revision revision;
  std::uint64_t policies = 0;
  std::uint64_t rules = 0;
  std::array<std::uint64_t, 7> linksByType{};  // indexed by ZrPolicyCache::EntityType
  std::uint64_t members = 0;
  std::uint64_t refused = 0;
  std::uint64_t links() const;
};

}  // namespace zrhost
