#include "host/diff/RowDiff.h"

#include <numeric>

#include "host/diff/ordered_rows_internal.h"
#include "host/diff/row_pipe_internal.h"

namespace zrhost {

namespace {

// Merges the rows of the side that is pushed into those of the pipe.
class Merge {
 public:
  Merge(RowPipe& before, const std::function<void(const RowDifference&)>& onDifference)
      : m_before(before), m_onDifference(onDifference) {}

  void takeAfter(const OrderedRow& after) {
    removeUpTo(&after);
    const OrderedRow* const before = m_before.front();
    if (before == nullptr || std::is_neq(compareKeys(*before, after)))
      return report(RowChange::kAdded, nullptr, &after);
    if (!isSameRow(*before, after)) report(RowChange::kChanged, before, &after);
    m_before.pop();
  }

  // Takes the rows of the pipe in front of `after`, which has none of their keys; all of them without one.
  void removeUpTo(const OrderedRow* after) {
    for (const OrderedRow* before = m_before.front();
         before != nullptr && (after == nullptr || std::is_lt(compareKeys(*before, *after)));
         before = m_before.front()) {
      report(RowChange::kRemoved, before, nullptr);
      m_before.pop();
    }
  }

  const RowDiffSummary& summary() const { return m_summary; }

 private:
  void report(RowChange change, const TableRow* before, const TableRow* after) {
    const PolicyTable table = (before != nullptr ? before : after)->table;
    TableDiff& counts = m_summary.tables[static_cast<std::size_t>(table)];
    std::uint64_t& count = change == RowChange::kAdded     ? counts.added
                           : change == RowChange::kRemoved ? counts.removed
                                                           : counts.changed;
    ++count;
    m_onDifference({table, change, before, after});
  }

  RowPipe& m_before;
  const std::function<void(const RowDifference&)>& m_onDifference;
  RowDiffSummary m_summary;
};

// What reaches through the reading of one side and has nothing to do with it.
struct Passed {
  std::exception_ptr failure;
};

}  // namespace

bool RowDifference::differsIn(std::size_t column) const {
  return before == nullptr || after == nullptr || before->fields[column] != after->fields[column];
}

std::uint64_t RowDiffSummary::total() const {
  return std::accumulate(tables.begin(), tables.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const TableDiff& table) { return sum + table.total(); });
}

RowDiffSummary diffRows(const DiffSide& before, const DiffSide& after,
                        const std::function<void(const RowDifference&)>& onDifference) {
  RowPipe pipe(before);
  Merge merge(pipe, onDifference);
  OrderedRows rows(after, [&merge](const OrderedRow& row) {
    try {
      merge.takeAfter(row);
    } catch (...) {  // of the other side, or of whoever is told
      throw Passed{std::current_exception()};
    }
  });
  try {
    readSide(after, rows);
  } catch (const Passed& passed) {
    std::rethrow_exception(passed.failure);
  }
  merge.removeUpTo(nullptr);
  return merge.summary();
}

}  // namespace zrhost
