#include "host/base/HostError.h"
#include "host/database/PolicyWriter.h"

// Until the writer of rows is there: a last good state cannot be kept.
namespace zrhost {

struct PolicyWriter::Parts {};
PolicyWriter::PolicyWriter(const DatabaseOptions&) {
  throw HostError(ErrorKind::kInternal, "rows cannot be written yet");
}
PolicyWriter::~PolicyWriter() = default;
ContentCounts PolicyWriter::counts() {
  return {};
}
void PolicyWriter::stage(std::uint64_t, const PolicyRow&) {}
void PolicyWriter::stage(std::uint64_t, const RuleRow&) {}
void PolicyWriter::stage(std::uint64_t, const LinkRow&) {}
void PolicyWriter::stage(std::uint64_t, const MemberRow&) {}
Changes PolicyWriter::apply(WriteMode) {
  return {};
}
void PolicyWriter::commit() {}

}  // namespace zrhost
