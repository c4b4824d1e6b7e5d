#pragma once

#include <cstdint>
#include <string>

#include "host/rows/RowSink.h"

namespace zrlive {

// The checksum of a state's rows, in whatever order they come: one damaged, lost or added row makes another sum. The
// revision does not count. Rows may be passed on to another sink on the way.
class RowSum : public zrhost::RowSink {
 public:
  explicit RowSum(zrhost::RowSink* next = nullptr) : m_next(next) {}
  void onRevision(const zrhost::Revision& revision) override;
  void onPolicy(zrhost::PolicyRow& row) override;
  void onRule(zrhost::RuleRow& row) override;
  void onLink(zrhost::LinkRow& row) override;
  void onMember(zrhost::MemberRow& row) override;

  // 16 hexadecimal digits, a dash, and the number of rows.
  std::string text() const;

 private:
  template <typename Row>
  void add(char table, Row& row);

  zrhost::RowSink* m_next;
  std::uint64_t m_sum = 0;
  std::uint64_t m_rows = 0;
};

// The same sum of a text, for what is said about a state.
std::string sumOf(const std::string& text);

}  // namespace zrlive
