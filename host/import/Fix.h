#pragma once

#include <functional>
#include <string>

#include "host/base/DatabaseOptions.h"
#include "host/check/Check.h"

namespace zrhost {

struct FixOptions {
  CheckOptions check{};  // what is looked for and mended; its onFinding gets what is left, its onProgress both readings
  bool dryRun = false;   // does everything but the writing
  // Each row that was mended, "TABLE, KEY: COLUMN 'BEFORE' becomes 'AFTER'", or removed, "TABLE, KEY: removed, since
  // ..."; may be empty.
  std::function<void(const std::string&)> onFixed{};
};

// Mends, in one transaction, what a check finds in a policy database and what has one sure remedy (Fault::mend), and
// ranges of one address. A member that would stand twice is removed. Answers what is found then.
//
// Keeps the rows that it mends, beside what a check keeps. Throws as PolicyWriter does, and what the functions of the
// options throw.
CheckSummary fixRows(const DatabaseOptions& database, const FixOptions& options);

}  // namespace zrhost
