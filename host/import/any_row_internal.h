#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "host/policyfile/PlacedRowSink.h"
#include "host/rows/PolicyTable.h"
#include "host/rows/Rows.h"

namespace zrhost {

// A row of whatever table: points to one that somebody else has.
using AnyRow = std::variant<PolicyRow*, RuleRow*, LinkRow*, MemberRow*>;

PolicyTable tableOf(const AnyRow& row);

// Calls `visit` with each of the row's columns and its field.
template <class Visit>
void forColumns(const AnyRow& row, Visit visit) {
  const auto columns = formatOf(tableOf(row)).columns;
  std::visit(
      [&](auto* each) {
        std::size_t index = 0;
        for (Field* field : fieldsOf(*each))
          visit(columns[index++], *field);
      },
      row);
}

// "ep_link, link_id 5"; a link without ID is named by what it is known by.
std::string nameOf(const AnyRow& row);

// Why no table can hold the row, whatever its values mean; nothing when one can.
std::optional<std::string> tableFault(const AnyRow& row);

// Why a database whose texts are UTF-8 cannot hold the row.
std::optional<std::string> utf8Fault(const AnyRow& row);

// The rows of every table, in one place.
class AnyRowSink : public PlacedRowSink {
 public:
  void onPolicy(PolicyRow& row, const RowPlace& place) override { onRow(&row, place); }
  void onRule(RuleRow& row, const RowPlace& place) override { onRow(&row, place); }
  void onLink(LinkRow& row, const RowPlace& place) override { onRow(&row, place); }
  void onMember(MemberRow& row, const RowPlace& place) override { onRow(&row, place); }

 private:
  virtual void onRow(const AnyRow& row, const RowPlace& place) = 0;
};

// Numbers that tell where rows stand: rising, the line in the lower bits, above it the number of the file. They stay
// below 2^53, so that nothing on their way can round them.
class RowNumbers {
 public:
  // To be asked for every row, so that each reading of a source gives the same numbers.
  std::uint64_t of(const RowPlace& place);

 private:
  std::vector<std::string> m_files;
};

// The line of a number.
std::uint64_t lineOf(std::uint64_t number);

}  // namespace zrhost
