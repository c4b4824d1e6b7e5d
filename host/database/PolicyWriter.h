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
// bounded whatever their number. The revision of the database rises at commit() when anything was added, changed or
// removed, and only then.
//
// Every operation throws HostError as the constructor does, and
//   kBadRow       the tables have rules of their own, which a row breaks
//   kInputOutput  no disk space, or a statement file cannot be used
// Once one has failed, but for stage with kBadRow, nothing but the destructor is of use: all others throw kInternal.
//
// Threads: one at a time.
class PolicyWriter {
 public:
  // Connects, begins the transaction and waits for other writers for 5 s. Throws HostError as PolicyDatabase does, and
  //   kNotPolicyDatabase  a policy database of version 1, whose text names zrpolicy init --upgrade
  //   kUnreachable        another writer is at work for more than 5 s, or the user may not write (the text says which
  //                       right is missing), or the file or the server is read-only
  explicit PolicyWriter(const DatabaseOptions& options);
  ~PolicyWriter();
  PolicyWriter(const PolicyWriter&) = delete;
  PolicyWriter& operator=(const PolicyWriter&) = delete;

  ContentCounts counts();
  // Pushes what the tables hold now, applied rows included, with the links in ascending link_id, as
  // PolicyDatabase::readByKey does; the revision is that from before the transaction. Nothing else may be called from
  // within.
  Revision readByKey(RowSink& sink);

  // Puts a row beside the others. `number` is the caller's name for it, above 0 and rising from row to row. A link's
  // empty linkId means: the link of its type, name and policy, or a new one.
  //
  // Throws HostError kBadRow, whose text names the number and the column, for a value that no table takes (valueFault)
  // and for a text that the database cannot hold: one with a zero byte, or on PostgreSQL with bytes that are no UTF-8
  // (a database in SQL_ASCII takes any). The row is not staged then, and everything may go on. Rows are sent in
  // batches, so that other failures may be those of earlier rows; so is that of a database in a smaller encoding which
  // lacks a character, after which nothing goes on.
  void stage(std::uint64_t number, const PolicyRow& row);
  void stage(std::uint64_t number, const RuleRow& row);
  void stage(std::uint64_t number, const LinkRow& row);
  void stage(std::uint64_t number, const MemberRow& row);

  // Looks through all staged rows for faults, reports each faulty row once in ascending order of the numbers, and takes
  // them out, so that apply finds none; that of a rejected policy makes those of its rules and links, unless the tables
  // have that policy (with kReplace, which would remove it, they are not asked). A link without ID is the same as
  // another staged one, with ID or without, of its type, name and policy. Nothing else may be called from within.
  void rejectFaults(WriteMode mode, const std::function<void(const StagedFault&)>& onFault);

  // Changes the tables, only the rows that differ, and forgets what was staged; answers what this call did. To be
  // called when rejectFaults has taken the faulty rows out. More rows can be staged and applied behind it, in the same
  // transaction.
  //
  // A link without ID takes that of the link in the table of its type, name and policy, the smallest one of several
  // that no staged row has; with kRemove it stands for all of these. A new link gets the next ID above the largest of
  // table and staged rows (and above 0), behind 2147483647 the smallest free one above 0, in the order of the numbers.
  Changes apply(WriteMode mode);

  // Ends the transaction; nothing but the destructor may follow. What is staged and was not applied is forgotten.
  void commit();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
