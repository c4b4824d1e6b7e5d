#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/policyfile/PlacedRowSink.h"
#include "host/rows/RowSink.h"

namespace zrhost {

// Why a line is no row; thrown inside of this room alone, and reported as a RowFault.
struct LineFault {
  std::uint64_t column = 0;
  std::string reason;
  std::optional<PolicyTable> table{};
};

// Ends the reading of a whole file: HostError kBadRow with file and line.
[[noreturn]] void failAt(const RowPlace& place, const std::string& reason);

// One row of each table, whose texts keep their storage from row to row.
class RowBuffer {
 public:
  RowBuffer() = default;
  RowBuffer(const RowBuffer&) = delete;
  RowBuffer& operator=(const RowBuffer&) = delete;

  std::span<Field* const> fields(PolicyTable table);
  void deliver(PolicyTable table, PlacedRowSink& sink, const RowPlace& place);
  void deliver(PolicyTable table, RowSink& sink);

 private:
  PolicyRow m_policy;
  RuleRow m_rule;
  LinkRow m_link;
  MemberRow m_member;
  std::array<Field*, 4> m_policyFields = fieldsOf(m_policy);
  std::array<Field*, 7> m_ruleFields = fieldsOf(m_rule);
  std::array<Field*, 5> m_linkFields = fieldsOf(m_link);
  std::array<Field*, 2> m_memberFields = fieldsOf(m_member);
};

// Puts a number into a field, as the text overload does.
void assign(Field& field, std::int64_t number);

// The rows of one file, whatever its format.
class RowStream {
 public:
  virtual ~RowStream() = default;

  // Reads the next row into the buffer and answers its table; nothing at the end of a whole file. Throws LineFault for
  // a line that is none, behind which the next call goes on, and HostError for what ends the reading.
  virtual std::optional<PolicyTable> next(RowBuffer& rows) = 0;

  // Of the row, or the line that was none, until the next call.
  virtual const RowPlace& place() const = 0;
  virtual std::string_view record() const = 0;
  // The fields of CSV, as far as the record could be taken apart.
  virtual std::vector<std::string> recordFields() const { return {}; }
  // The byte of the line, from 1, at which the value of that column shows; 0 when that is not known.
  virtual std::uint64_t columnOf(const char*) const { return 0; }
};

}  // namespace zrhost
