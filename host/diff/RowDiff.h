#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "host/rows/PolicyTable.h"
#include "host/rows/RowPlace.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// A row of any table: as many fields as the table has columns, in their order.
struct TableRow {
  PolicyTable table = PolicyTable::kPolicy;
  std::array<Field, kMostColumns> fields{};
};

enum class RowChange { kAdded, kRemoved, kChanged };

// A row that two states do not have in common, told by its key. The rows are valid during the call only.
struct RowDifference {
  PolicyTable table;
  RowChange change;
  const TableRow* before;  // null when it was added
  const TableRow* after;   // null when it was removed

  const TableRow& row() const { return before != nullptr ? *before : *after; }
  bool differsIn(std::size_t column) const;
};

struct TableDiff {
  std::uint64_t added = 0;
  std::uint64_t removed = 0;
  std::uint64_t changed = 0;
  std::uint64_t total() const { return added + removed + changed; }
};
struct RowDiffSummary {
  std::array<TableDiff, kPolicyTables> tables{};  // by PolicyTable
  std::uint64_t total() const;
};

// One of the two states that are compared.
struct DiffSide {
  std::string name;                              // begins what goes wrong with it: "A ('old.db')"
  std::function<void(RowSink& sink)> readByKey;  // pushes all rows, each table in ascending order of its key
  const RowPlace* place = nullptr;               // of a file: where the row being pushed stands
};

// Compares the rows of two states. Both are read at once, `before` on a thread of its own, and merged by their keys: a
// few thousand rows are held, whatever their number. `onDifference` is called on the calling thread, in the order of
// tables and keys.
//
// Throws what onDifference throws, and HostError, with the name of the side in front of the text: what reading throws,
// kBadRow for a row whose key is NULL or no number, or that stands twice, kInternal.
RowDiffSummary diffRows(const DiffSide& before, const DiffSide& after,
                        const std::function<void(const RowDifference&)>& onDifference);

}  // namespace zrhost
