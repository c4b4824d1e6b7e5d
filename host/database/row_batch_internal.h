#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "host/database/session_internal.h"
#include "host/rows/PolicyTable.h"

namespace zrhost {

// Rows of one kind on their way to the table that they are staged in, many a round trip, as parameters.
class RowBatch {
 public:
  virtual ~RowBatch() = default;
  // Takes a row in, with the values of its columns in their order, none of them NULL and numbers such as the columns
  // take; sends all when they are many.
  virtual void add(std::uint64_t number, std::span<const Field* const> values) = 0;
  // Sends what has not been sent.
  virtual void send() = 0;
};

// Where rows are staged: the columns of the table, and the statement file that puts rows into it.
struct StagedTable {
  std::span<const PolicyColumn> columns;
  const char* statement;
};

// For SQLite, whose values are bound one by one. What a row costs there is the driver, not the number of calls.
std::unique_ptr<RowBatch> makeValueBatch(Session& session, const StagedTable& table);
// For servers, whose round trips cost more than the rows: the values of a column are one parameter, an array as text,
// sent as bytes, so that nothing between here and the server takes them for another encoding.
std::unique_ptr<RowBatch> makeArrayBatch(Session& session, const StagedTable& table);

}  // namespace zrhost
