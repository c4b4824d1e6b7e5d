#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/rows/PolicyTable.h"
#include "host/rows/RowPlace.h"

namespace zrhost {

// A line of JSON Lines or a record of CSV that is no row, or whose values no table takes.
struct RowFault {
  RowPlace place;
  std::uint64_t column = 0;            // the byte in the line where it shows, from 1; 0 when the whole line is meant
  std::string reason;                  // without a full stop; may quote the line, so it is shown through terminalText
  std::optional<PolicyTable> table{};  // where that is known; always for CSV
  std::string record{};                // as it stands in the file, of any bytes, without its end
  std::vector<std::string> fields{};   // of a record of CSV that could be taken apart

  // "FILE, line 3, column 17: REASON"
  std::string text() const;
};

// Takes what a policy file holds, in the order of the file.
//
// A row is valid during the call only; a sink may move texts out of it. The place is valid during the call, and names
// the line on which the row begins. `linkId` of a link is empty where the file has none. What an operation throws ends
// the reading and reaches whoever started it.
class PlacedRowSink {
 public:
  virtual ~PlacedRowSink() = default;
  virtual void onPolicy(PolicyRow& row, const RowPlace& place) = 0;
  virtual void onRule(RuleRow& row, const RowPlace& place) = 0;
  virtual void onLink(LinkRow& row, const RowPlace& place) = 0;
  virtual void onMember(MemberRow& row, const RowPlace& place) = 0;
  // In place of the row that the line should have been. The reading goes on.
  virtual void onFault(const RowFault& fault) = 0;
};

}  // namespace zrhost
