#pragma once

#include <cstdint>

#include "host/diff/AnswerDiff.h"
#include "host/diff/DiffFormat.h"

namespace zrhost {

// Writes answers that differ as they are found. As text, made safe for a terminal, three lines and more for each:
//
//   line 3: user john@example.org
//     before: 20 14 21
//     after:  20 21
//     policy 20: priority 10 -> 15
//
// where the last tell what else differs of policies that both answers have. As JSON one document on one line:
//
//   {"questions": [{"line": N, "question": TEXT, "before": [POLICY ID, ...], "after": [...]}, ...], "asked": N,
//     "different": N}
//
// With onlySummary the numbers alone. Bytes that are no UTF-8 become U+FFFD.
class AnswerDiffReport {
 public:
  explicit AnswerDiffReport(DiffFormat format);
  void add(const AnswerDifference& difference);
  // To be called once, at the end.
  void finish(std::uint64_t asked, std::uint64_t different);

 private:
  DiffFormat m_format;
  bool m_isFirst = true;
};

}  // namespace zrhost
