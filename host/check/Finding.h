#pragma once

#include <string>
#include <vector>

#include "host/check/FindingCode.h"
#include "host/rows/RowPlace.h"
#include "host/rows/Rows.h"

namespace zrhost {

// A column of a row and what it holds, or is to hold.
struct ColumnValue {
  std::string column;
  Field value;
};

// Which row: its table, the columns of its key in the table's order with what they hold, and where it stands. A key
// without columns means the table as a whole. The place names no file when the rows come from a database.
struct RowName {
  const char* table = "";
  std::vector<ColumnValue> key;
  RowPlace place;

  // "TABLE, COLUMN VALUE, COLUMN VALUE", long values shortened, safe to be shown on a terminal.
  std::string text() const;
};

// What is wrong with a row: the code, one sentence of why and what to do, neither with a full stop. Both quote texts of
// the row as they stand, of any bytes, cut to some 60 bytes.
//
// `mend` is the one sure remedy, as the columns of the row that change and what they hold then; empty when a person has
// to decide. It mends everything about that column that has a sure remedy, so that of several findings about it any one
// may be applied, in any order.
struct Fault {
  FindingCode code;
  std::string message;
  std::string remedy;
  std::vector<ColumnValue> mend{};
};

struct Finding : Fault {
  RowName row;
};

}  // namespace zrhost
