#include "host/database/staged_faults_internal.h"

#include <limits>
#include <string>

#include "host/base/strict_number.h"

namespace zrhost {
namespace {

const char* faultsOf(WriteMode mode) {
  switch (mode) {
    case WriteMode::kMerge:
      return "write/faults_merge";
    case WriteMode::kReplace:
      return "write/faults_replace";
    default:
      return "write/faults_remove";
  }
}

StagedFault::Kind kindOf(const std::string& kind) {
  using Kind = StagedFault::Kind;
  if (kind == "twice") return Kind::kTwice;
  if (kind == "unknown policy") return Kind::kUnknownPolicy;
  return kind == "still used" ? Kind::kStillUsed : Kind::kTooLong;
}

std::uint64_t numberIn(Session& session, const char* column) {
  return static_cast<std::uint64_t>(
      strictNumber(session.text(column), 0, std::numeric_limits<std::int64_t>::max()).value_or(0));
}

StagedFault faultOf(Session& session) {
  const PolicyTableFormat* table = findTable(session.text("staged"));
  return {kindOf(session.text("kind")), table == nullptr ? PolicyTable::kPolicy : table->table,
          numberIn(session, "number"), numberIn(session, "earlier")};
}

}  // namespace

void rejectStagedFaults(Session& session, WriteMode mode, const std::function<void(const StagedFault&)>& onFault) {
  runWriteFolder(session, "write/faults");
  runWriteFolder(session, faultsOf(mode));
  session.run(session.statements() + "write/read_faults.sql");
  bool any = false;
  for (; session.next(); any = true)
    onFault(faultOf(session));
  if (any) runWriteFolder(session, "write/drop_faults");
}

}  // namespace zrhost
