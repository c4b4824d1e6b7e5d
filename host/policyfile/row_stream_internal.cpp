#include "host/policyfile/row_stream_internal.h"

#include <array>
#include <charconv>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrhost {

std::string RowFault::text() const {
  std::string text = place.file + ", line " + std::to_string(place.line);
  if (column != 0) text += ", column " + std::to_string(column);
  return text + ": " + reason;
}

void failAt(const RowPlace& place, const std::string& reason) {
  throw HostError(ErrorKind::kBadRow,
                  terminalText(place.file) + ", line " + std::to_string(place.line) + ": " + terminalText(reason));
}

std::span<Field* const> RowBuffer::fields(PolicyTable table) {
  switch (table) {
    case PolicyTable::kPolicy:
      return m_policyFields;
    case PolicyTable::kRule:
      return m_ruleFields;
    case PolicyTable::kLink:
      return m_linkFields;
    case PolicyTable::kMember:
      break;
  }
  return m_memberFields;
}

void RowBuffer::deliver(PolicyTable table, PlacedRowSink& sink, const RowPlace& place) {
  switch (table) {
    case PolicyTable::kPolicy:
      return sink.onPolicy(m_policy, place);
    case PolicyTable::kRule:
      return sink.onRule(m_rule, place);
    case PolicyTable::kLink:
      return sink.onLink(m_link, place);
    case PolicyTable::kMember:
      return sink.onMember(m_member, place);
  }
}

void RowBuffer::deliver(PolicyTable table, RowSink& sink) {
  switch (table) {
    case PolicyTable::kPolicy:
      return sink.onPolicy(m_policy);
    case PolicyTable::kRule:
      return sink.onRule(m_rule);
    case PolicyTable::kLink:
      return sink.onLink(m_link);
    case PolicyTable::kMember:
      return sink.onMember(m_member);
  }
}

void assign(Field& field, std::int64_t number) {
  std::array<char, 24> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  assign(field, std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
}

}  // namespace zrhost
