#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/check/Check.h"

namespace zrhost {

enum class ReportFormat { kText, kJson, kSarif };

// "text", "json" or "sarif"; nothing for any other word.
std::optional<ReportFormat> findReportFormat(std::string_view name);

// Writes findings as they come, in one of three forms:
//
//   text   for people: the place, table and key, severity, message and code on one line, the remedy on the next, behind
//          them the numbers; everything safe for a terminal
//   json   one document, a finding a line: {"findings":[{"code","severity","table","key":{COLUMN: VALUE},"line",
//          "message","remedy"}],"summary":{"error":N,"warning":N,"note":N}}; whole numbers of a key are numbers, NULL
//          is null, and "line" is null where rows come from a database
//   sarif  one document of the Static Analysis Results Interchange Format 2.1.0, a result a line, with all codes as
//   rules
//
// Bytes that are no UTF-8 become U+FFFD in the two documents.
class FindingReport {
 public:
  using Write = std::function<void(std::string_view)>;

  virtual ~FindingReport() = default;
  virtual void add(const Finding& finding) = 0;
  // Completes the document.
  virtual void finish(const CheckSummary& summary) = 0;
};

// `version` is that of the program. What `write` throws passes through; nothing is written before the first finding.
std::unique_ptr<FindingReport> makeFindingReport(ReportFormat format, const std::string& version,
                                                 FindingReport::Write write);

}  // namespace zrhost
