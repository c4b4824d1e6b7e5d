#pragma once

#include "host/diff/DiffFormat.h"
#include "host/diff/RowDiff.h"

namespace zrhost {

// Writes the differences of rows as they are found, in pieces. As text a line for each,
//
//   + ep_link, link_id 34: entity_type 1, entity_name 'anna', policy_id 14, priority 20    added
//   - group_member, group_name 'staff', user_name 'john'                                   removed
//   ~ ep_link, link_id 2: priority 20 -> 25                                                changed
//
// made safe for a terminal, and a table of the numbers. As JSON one document on one line:
//
//   {"rows": [{"table": TEXT, "key": {COLUMN: VALUE}, "change": "added"|"removed"|"changed", "before": {COLUMN: VALUE},
//     "after": {COLUMN: VALUE}}, ...], "summary": {TABLE: {"added": N, "removed": N, "changed": N}, ...}}
//
// "before" is null of an added row, "after" of a removed one; of a changed row both hold the columns that differ. A
// text that is no UTF-8 stands in Base64, under the column's name with _base64 behind it.
//
// With onlySummary the numbers alone, as JSON {"summary": ...}.
class RowDiffReport {
 public:
  explicit RowDiffReport(DiffFormat format);
  void add(const RowDifference& difference);
  // To be called once, at the end.
  void finish(const RowDiffSummary& summary);

 private:
  DiffFormat m_format;
  bool m_isFirst = true;
};

}  // namespace zrhost
