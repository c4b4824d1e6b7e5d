#pragma once

#include <compare>
#include <functional>

#include "host/diff/RowDiff.h"

namespace zrhost {

// A row with its key, as far as that is numbers.
struct OrderedRow : TableRow {
  std::array<std::int64_t, 2> numbers{};
};

// The order of keys across all tables.
std::strong_ordering compareKeys(const OrderedRow& a, const OrderedRow& b);
bool isSameRow(const TableRow& a, const TableRow& b);

// Fields stay where they are, so that their storage is used again.
void copyRow(const OrderedRow& from, OrderedRow& to);

// Hands the rows of a side on, one at a time and as long as their keys rise; HostError kBadRow for one that does not,
// or whose key is none.
class OrderedRows : public RowSink {
 public:
  OrderedRows(const DiffSide& side, std::function<void(const OrderedRow&)> take);
  void onRevision(const Revision&) override {}
  void onPolicy(PolicyRow& row) override { take(PolicyTable::kPolicy, fieldsOf(row)); }
  void onRule(RuleRow& row) override { take(PolicyTable::kRule, fieldsOf(row)); }
  void onLink(LinkRow& row) override { take(PolicyTable::kLink, fieldsOf(row)); }
  void onMember(MemberRow& row) override { take(PolicyTable::kMember, fieldsOf(row)); }

 private:
  template <class Fields>
  void take(PolicyTable table, const Fields& fields);
  void readKey(OrderedRow& row) const;
  [[noreturn]] void refuse(const OrderedRow& row, const std::string& reason) const;

  const DiffSide& m_side;
  std::function<void(const OrderedRow&)> m_take;
  std::array<OrderedRow, 2> m_rows;  // the last one and this one, in turn
  unsigned m_current = 0;
  bool m_isFirst = true;
};

// Reads a side into the sink. Failures arrive as HostError that begins with the side's name, but for what `take` of the
// sink throws otherwise.
void readSide(const DiffSide& side, RowSink& sink);

}  // namespace zrhost
