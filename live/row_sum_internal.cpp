#include "live/row_sum_internal.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string_view>

#include "host/rows/PolicyTable.h"

namespace zrlive {
namespace {

// FNV-1a over 64 bits, which is the same on every machine.
class TextHash {
 public:
  void add(std::string_view text) {
    for (const char c : text)
      add(c);
  }
  void add(char c) { m_hash = (m_hash ^ static_cast<unsigned char>(c)) * 1099511628211U; }
  // Stirred, so that sums of hashes do not repeat what rows have in common.
  std::uint64_t value() const {
    std::uint64_t value = m_hash;
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31U);
  }

 private:
  std::uint64_t m_hash = 14695981039346656037U;
};

std::string hexadecimal(std::uint64_t number) {
  std::array<char, 17> text{};
  std::snprintf(text.data(), text.size(), "%016" PRIx64, number);
  return text.data();
}

}  // namespace

template <typename Row>
void RowSum::add(char table, Row& row) {
  TextHash hash;
  hash.add(table);
  for (const zrhost::Field* field : zrhost::fieldsOf(row)) {
    hash.add(*field ? std::to_string((*field)->size()) : std::string("-"));
    hash.add(':');
    if (*field) hash.add(**field);
  }
  m_sum += hash.value();
  ++m_rows;
}

void RowSum::onRevision(const zrhost::Revision& revision) {
  if (m_next != nullptr) m_next->onRevision(revision);
}

void RowSum::onPolicy(zrhost::PolicyRow& row) {
  add('p', row);
  if (m_next != nullptr) m_next->onPolicy(row);
}

void RowSum::onRule(zrhost::RuleRow& row) {
  add('r', row);
  if (m_next != nullptr) m_next->onRule(row);
}

void RowSum::onLink(zrhost::LinkRow& row) {
  add('l', row);
  if (m_next != nullptr) m_next->onLink(row);
}

void RowSum::onMember(zrhost::MemberRow& row) {
  add('m', row);
  if (m_next != nullptr) m_next->onMember(row);
}

std::string RowSum::text() const {
  return hexadecimal(m_sum) + "-" + std::to_string(m_rows);
}

std::string sumOf(const std::string& text) {
  TextHash hash;
  hash.add(text);
  return hexadecimal(hash.value());
}

}  // namespace zrlive
