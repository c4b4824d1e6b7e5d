#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/base/DatabaseOptions.h"
#include "host/database/PolicyWriter.h"
#include "host/import/ImportSource.h"

namespace zrhost {

// How far an import has come. Behind the last row the database compares, which has no measure.
struct ImportProgress {
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;
  std::uint64_t bytesInAll = 0;  // 0 when it is not known
};

struct ImportOptions {
  WriteMode mode = WriteMode::kMerge;
  bool asIs = false;       // leaves every byte alone: nothing is mended, only what no table holds is rejected
  bool dryRun = false;     // does everything but the writing
  bool allowDrop = false;  // without it what takes away much is refused
  std::string rejects{};   // the policy file that gets the rejected rows; empty: a single one fails everything
  // Each of the first 100 rejected rows as "FILE, line N: REASON", and how many more there are; only without `rejects`.
  std::function<void(const std::string&)> onRejected{};
  std::function<void(const ImportProgress&)> onProgress{};  // every 1,024 rows; both may be empty
};

// What an import did, in rows.
struct ImportSummary {
  std::uint64_t read = 0;  // with those that were rejected
  std::uint64_t mended = 0;
  std::uint64_t rejected = 0;
  TableChanges changes{};                     // of all tables together
  std::vector<std::string> mendedExamples{};  // the first five, "FILE, line N: COLUMN 'BEFORE' becomes 'AFTER'"
};

// Brings the rows of a source into a policy database, in one transaction: mends what can only be meant one way
// (host/mend), rejects what loading or the tables refuse, has the database compare, and touches only the rows that
// differ. Memory is bounded whatever the number of rows. What throws leaves database and rejects as they were, but for
// a connection that is lost at the commit.
//
// Throws what the source and PolicyWriter throw, and HostError
//   kUsage        `rejects` is the source or the database itself; kReplace by a file of one table alone
//   kBadRow       rows were rejected, without `rejects`
//   kLoss         more than a fifth of the links would go, or the last default policy would, without allowDrop
//   kInputOutput  `rejects` cannot be written; the source changed while it was read
ImportSummary importRows(ImportSource& source, const DatabaseOptions& target, const ImportOptions& options);

}  // namespace zrhost
