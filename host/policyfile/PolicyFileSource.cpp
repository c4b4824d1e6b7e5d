#include "host/policyfile/PolicyFileSource.h"

#include <utility>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/policyfile/PolicyFileReader.h"
#include "host/policyfile/held_rows_internal.h"

namespace zrhost {
namespace {

// Keeps rows, and hands faults on.
class Collector : public PlacedRowSink {
 public:
  explicit Collector(const std::function<void(const RowFault&)>& onFault) : m_onFault(onFault) {}

  void onPolicy(PolicyRow& row, const RowPlace& place) override {
    rows.add(PolicyTable::kPolicy, fieldsOf(row), place);
  }
  void onRule(RuleRow& row, const RowPlace& place) override { rows.add(PolicyTable::kRule, fieldsOf(row), place); }
  void onLink(LinkRow& row, const RowPlace& place) override { rows.add(PolicyTable::kLink, fieldsOf(row), place); }
  void onMember(MemberRow& row, const RowPlace& place) override {
    rows.add(PolicyTable::kMember, fieldsOf(row), place);
  }
  void onFault(const RowFault& fault) override {
    if (++faults == 1) first = fault.text();
    if (m_onFault) m_onFault(fault);
  }

  HeldRows rows;
  std::uint64_t faults = 0;
  std::string first;

 private:
  const std::function<void(const RowFault&)>& m_onFault;
};

}  // namespace

PolicyFileSource::PolicyFileSource(std::string path, std::function<void(const RowFault&)> onFault)
    : m_path(std::move(path)), m_onFault(std::move(onFault)) {}

// What has been told already is not told again.
std::string PolicyFileSource::textOf(std::uint64_t faults, const std::string& first) const {
  const bool isOne = faults == 1;
  if (m_onFault) {
    return (m_path == "-" ? "standard input" : terminalText(m_path)) + ": " + std::to_string(faults) +
           (isOne ? " line is no row; correct it" : " lines are no rows; correct them");
  }
  return terminalText(first) + (isOne ? "" : " (" + std::to_string(faults) + " such lines in all)");
}

Revision PolicyFileSource::readInto(RowSink& sink, bool judgeValues, void (HeldRows::*push)(RowSink&, RowPlace&)) {
  Collector collector(m_onFault);
  PolicyFileReader(m_path, {.judgeValues = judgeValues}).read(collector);
  if (collector.faults > 0) throw HostError(ErrorKind::kBadRow, textOf(collector.faults, collector.first));
  Revision revision;
  sink.onRevision(revision);
  (collector.rows.*push)(sink, m_place);
  return revision;
}

Revision PolicyFileSource::read(RowSink& sink) {
  return readInto(sink, false, &HeldRows::push);
}

Revision PolicyFileSource::readByKey(RowSink& sink) {
  return readInto(sink, true, &HeldRows::pushByKey);
}

}  // namespace zrhost
