#pragma once

#include <utility>
#include <vector>

#include "host/check/Check.h"

namespace zrhost {

// Hands findings on that somebody wants, and counts them.
class FindingLog {
 public:
  explicit FindingLog(const CheckOptions& options) : m_options(options) {}

  bool wants(FindingCode code) const {
    return kindOf(code).severity <= m_options.least && m_options.ignored.count(code) == 0;
  }

  void report(const RowName& row, Fault fault) {
    if (!wants(fault.code)) return;
    ++countOf(kindOf(fault.code).severity);
    if (m_options.onFinding) m_options.onFinding({std::move(fault), row});
  }

  void report(const RowName& row, std::vector<Fault>& faults) {
    for (Fault& fault : faults)
      report(row, std::move(fault));
    faults.clear();
  }

  const CheckSummary& summary() const { return m_summary; }

 private:
  std::uint64_t& countOf(Severity severity) {
    if (severity == Severity::kError) return m_summary.errors;
    return severity == Severity::kWarning ? m_summary.warnings : m_summary.notes;
  }

  const CheckOptions& m_options;
  CheckSummary m_summary;
};

}  // namespace zrhost
