#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/base/DatabaseOptions.h"
#include "host/base/HostError.h"
#include "host/rows/PolicyTable.h"
#include "host/rows/RowSource.h"

namespace zrhost {

// What apply does with the rows that were staged.
enum class WriteMode {
  kMerge,    // adds them, or changes the rows of their keys
  kReplace,  // makes the content exactly that of them
  kRemove,   // removes the rows of their keys
};

// What apply did to one table, in rows. Rows that are as they were are unchanged and were not touched; with kRemove so
// is a row that is not there.
struct TableChanges {
  std::uint64_t added = 0;
  std::uint64_t changed = 0;
  std::uint64_t removed = 0;
  std::uint64_t unchanged = 0;
};
using Changes = std::array<TableChanges, kPolicyTables>;  // by PolicyTable

// A staged row that cannot be applied, as only a look at all of them and at the tables tells.
struct StagedFault {
  enum class Kind {
    kTwice,          // an earlier staged row has the same key, or (links without ID) the same type, name and policy
    kUnknownPolicy,  // a rule or link of a policy that there will not be
    kStillUsed,      // kRemove: a policy that rules or links go on referring to
    kTooLong,        // a key that the database's index cannot hold
  };
  Kind kind;
  PolicyTable table;
  std::uint64_t number = 0;   // the row's, as it was staged
  std::uint64_t earlier = 0;  // kTwice: that of the first such row
};

// What an import must not take away unnoticed.
struct ContentCounts {
  std::uint64_t links = 0;
  std::uint64_t defaultPolicies = 0;  // with is_default 1
};

// Writes rows into a policy database, in one transaction from the construction to commit(): nobody else writes
// meanwhile, readers go on reading the old state, and whatever ends earlier leaves everything as it was.
//
// Rows are staged in the database itself first, in tables of the connection's own, and compared there: memory is
// bounded whatever their number. Values must be such as the tables take (valueFault); texts may hold any bytes but zero
// bytes and, on PostgreSQL, those that the database's encoding has not: HostError kBadRow names the row's number.
// The revision of the database rises at commit() when anything was added, changed or removed, and only then.
//
// Threads: one at a time.
class PolicyWriter {
 public:
  // Connects, begins the transaction and waits for other writers for 5 s. Throws HostError as PolicyDatabase does, and
  //   kNotPolicyDatabase  a policy database of version 1, whose text names zrpolicy init --upgrade
  //   kUnreachable        another writer is at work for more than 5 s, or the user may not write, or the file or the
  //                       server is read-only
  explicit PolicyWriter(const DatabaseOptions& options);
  ~PolicyWriter();
  PolicyWriter(const PolicyWriter&) = delete;
  PolicyWriter& operator=(const PolicyWriter&) = delete;

  ContentCounts counts();
  // Pushes what the tables hold now, with the links in ascending link_id, as PolicyDatabase::readByKey does. Nothing
  // else may be called from within.
  Revision readByKey(RowSink& sink);

  // Puts a row beside the others. `number` is the caller's name for it, above 0 and rising from row to row. A link's
  // empty linkId means: the link of its type, name and policy, or a new one, which gets the next free ID (above the
  // largest of tables and staged rows, then the smallest free one above 0).
  void stage(std::uint64_t number, const PolicyRow& row);
  void stage(std::uint64_t number, const RuleRow& row);
  void stage(std::uint64_t number, const LinkRow& row);
  void stage(std::uint64_t number, const MemberRow& row);

  // Looks through all staged rows for faults, reports each faulty row once in ascending order of the numbers, and takes
  // them out, so that apply finds none; that of a rejected policy makes those of its rules and links, unless the tables
  // have that policy.
  void rejectFaults(WriteMode mode, const std::function<void(const StagedFault&)>& onFault);

  // Changes the tables, only the rows that differ, and forgets what was staged. Several in a row add up.
  Changes apply(WriteMode mode);

  void commit();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
