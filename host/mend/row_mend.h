#pragma once

#include <string>
#include <vector>

#include "host/rows/Rows.h"

namespace zrhost {

// One value that was mended.
struct MendedValue {
  const char* column;
  std::string before;
  std::string after;

  // "COLUMN 'BEFORE' becomes 'AFTER'", cut to some 60 bytes each; numbers without quotes.
  std::string text() const;
};

// Mends, in place, what of a row can only be meant one way, and answers what that was: capitals and blanks of names,
// the dot behind a host, addresses, networks and ranges that are not in the form that links store (name_mend.h,
// address_mend.h). A row whose entity_type is none, or that has a NULL, is left as it is, and so is a name that is all
// blanks.
std::vector<MendedValue> mend(LinkRow& row);
std::vector<MendedValue> mend(MemberRow& row);

}  // namespace zrhost
