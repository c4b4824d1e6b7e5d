#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>

#include "host/check/Finding.h"
#include "host/rows/RowSource.h"

namespace zrhost {

struct CheckOptions {
  Severity least = Severity::kWarning;                   // the least that is reported and counted
  std::set<FindingCode> ignored{};                       // neither reported nor counted
  bool postfixActions = true;                            // actions are Postfix's: an empty or unknown one is a finding
  const RowPlace* place = nullptr;                       // a file as the source: where the row being pushed stands
  std::function<void(const Finding&)> onFinding{};       // each finding, as it is made; may be empty
  std::function<void(std::uint64_t rows)> onProgress{};  // now and then (every 1,024 rows); may be empty
};

// How many findings were reported.
struct CheckSummary {
  std::uint64_t errors = 0;
  std::uint64_t warnings = 0;
  std::uint64_t notes = 0;
  std::uint64_t total() const { return errors + warnings + notes; }
};

// Examines the rows of one state: what loading refuses, and what loads and yet cannot be meant. What the library
// decides (how a name is filed, how an address is read, which rule is selected, what is refused) is asked of the
// library.
//
// Findings are reported while rows come, in their order; those that need all links come behind the last link, in the
// order of loading, whatever the order in which the links came; those about policies come last, by policy ID. Equal
// rows give equal findings in equal order. Of ranges that overlap each other each is reported once, however many there
// are.
//
// Keeps the policies, and of each link its name and some 50 bytes: less than a loaded cache. Findings are not kept.
// Everything together takes n log n steps for n rows.
class CheckSink : public RowSink {
 public:
  // The options, and the place that they point to, must outlive the sink.
  explicit CheckSink(const CheckOptions& options);
  ~CheckSink() override;
  CheckSink(const CheckSink&) = delete;
  CheckSink& operator=(const CheckSink&) = delete;

  void onRevision(const Revision& revision) override;
  void onPolicy(PolicyRow& row) override;
  void onRule(RuleRow& row) override;
  void onLink(LinkRow& row) override;
  void onMember(MemberRow& row) override;

  // Reports what needs all rows; to be called once, behind the last one. Answers what was found in all.
  CheckSummary finish();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

// Checks all rows of a source. Throws what the source and onFinding throw, and std::bad_alloc.
CheckSummary checkRows(RowSource& source, const CheckOptions& options);

}  // namespace zrhost
