#include "host/policyfile/held_rows_internal.h"

#include <algorithm>
#include <limits>
#include <tuple>

#include "host/base/strict_number.h"

namespace zrhost {
namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();

// Seven bits a byte, the lowest first.
void appendNumber(std::string& bytes, std::uint64_t number) {
  for (; number >= 0x80; number >>= 7U)
    bytes += static_cast<char>(number | 0x80U);
  bytes += static_cast<char>(number);
}

std::uint64_t takeNumber(std::string_view& bytes) {
  std::uint64_t number = 0;
  for (unsigned shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    number |= static_cast<std::uint64_t>(byte & 0x7FU) << shift;
    if (byte < 0x80) return number;
  }
}

// A field begins with 0 for NULL, an odd number that holds a whole number (the sign lowest), or an even one that tells
// the length of a text.
void appendField(std::string& bytes, const Field& field, bool isNumber) {
  if (!field) return appendNumber(bytes, 0);
  if (const auto number = isNumber ? strictNumber(*field, kLeast, kMost) : std::nullopt) {
    const auto magnitude = static_cast<std::uint64_t>(*number < 0 ? -*number : *number);
    return appendNumber(bytes, (magnitude << 2U) | (*number < 0 ? 2U : 0U) | 1U);
  }
  appendNumber(bytes, (static_cast<std::uint64_t>(field->size()) << 1U) + 2);
  bytes += *field;
}

void takeField(std::string_view& bytes, Field& field) {
  const std::uint64_t head = takeNumber(bytes);
  if (head == 0) return field.reset();
  if ((head & 1U) != 0) {
    const auto magnitude = static_cast<std::int64_t>(head >> 2U);
    return assign(field, (head & 2U) != 0 ? -magnitude : magnitude);
  }
  const auto length = static_cast<std::size_t>((head >> 1U) - 1);
  assign(field, bytes.substr(0, length));
  bytes.remove_prefix(length);
}

// What is no number in a column of numbers is refused later, so its place in the order does not matter.
std::int32_t keyNumber(const Field& field) {
  return static_cast<std::int32_t>(field ? strictNumber(*field, kLeast, kMost).value_or(0) : 0);
}

// The free IDs behind the largest of `used`, which is sorted; then the free ones above 0.
class FreeIds {
 public:
  explicit FreeIds(std::vector<std::int32_t> used) : m_used(std::move(used)) {
    if (!m_used.empty()) m_largest = std::max(m_largest, m_used.back());
  }
  std::int32_t next() {
    if (m_largest < kMost) return ++m_largest;
    do {
      ++m_smallest;
    } while (std::binary_search(m_used.begin(), m_used.end(), m_smallest));
    return m_smallest;
  }

 private:
  std::vector<std::int32_t> m_used;
  std::int32_t m_largest = 0;
  std::int32_t m_smallest = 0;
};

}  // namespace

void HeldRows::add(PolicyTable table, std::span<Field* const> fields, const RowPlace& place) {
  const auto index = static_cast<std::size_t>(table);
  if (m_files[index].empty()) m_files[index] = place.file;
  Entry entry{0, 0, m_bytes.size()};
  if (table == PolicyTable::kLink) {
    entry.first = keyNumber(*fields[4]);
    entry.second = keyNumber(*fields[0]);
    if (!*fields[0]) m_withoutId.push_back(m_entries[index].size());
  } else if (table != PolicyTable::kMember) {
    entry.first = keyNumber(*fields[0]);
    entry.second = table == PolicyTable::kRule ? keyNumber(*fields[1]) : 0;
  }
  appendNumber(m_bytes, place.line);
  for (std::size_t i = 0; i < fields.size(); ++i)
    appendField(m_bytes, *fields[i], formatOf(table).columns[i].isNumber);
  m_entries[index].push_back(entry);
}

void HeldRows::giveLinkIds() {
  if (m_withoutId.empty()) return;
  auto& links = m_entries[static_cast<std::size_t>(PolicyTable::kLink)];
  std::vector<std::int32_t> used;
  used.reserve(links.size());
  for (const Entry& link : links)
    used.push_back(link.second);
  std::sort(used.begin(), used.end());
  FreeIds free(std::move(used));
  for (const std::size_t link : m_withoutId)
    links[link].second = free.next();
  m_withoutId.clear();
}

bool HeldRows::isBefore(PolicyTable table, const Entry& a, const Entry& b) const {
  if (table != PolicyTable::kMember) {
    return std::tie(a.first, a.second, a.at) < std::tie(b.first, b.second, b.at);
  }
  Field left, right;
  std::string_view leftBytes = std::string_view(m_bytes).substr(a.at);
  std::string_view rightBytes = std::string_view(m_bytes).substr(b.at);
  takeNumber(leftBytes);
  takeNumber(rightBytes);
  for (std::size_t i = 0; i < formatOf(table).columns.size(); ++i) {
    takeField(leftBytes, left);
    takeField(rightBytes, right);
    if (left != right) return left < right;
  }
  return a.at < b.at;
}

void HeldRows::sort(PolicyTable table) {
  auto& entries = m_entries[static_cast<std::size_t>(table)];
  std::sort(entries.begin(), entries.end(),
            [this, table](const Entry& a, const Entry& b) { return isBefore(table, a, b); });
}

void HeldRows::unpack(PolicyTable table, const Entry& entry, RowPlace& place) {
  std::string_view bytes = std::string_view(m_bytes).substr(entry.at);
  place.line = takeNumber(bytes);
  const auto fields = m_row.fields(table);
  for (Field* const field : fields)
    takeField(bytes, *field);
  if (table == PolicyTable::kLink && !*fields[0]) assign(*fields[0], entry.second);
}

void HeldRows::push(RowSink& sink, RowPlace& place) {
  giveLinkIds();
  pushInOrder(sink, place);
}

void HeldRows::pushByKey(RowSink& sink, RowPlace& place) {
  giveLinkIds();
  for (Entry& link : m_entries[static_cast<std::size_t>(PolicyTable::kLink)])
    link.first = 0;  // the priorities
  pushInOrder(sink, place);
}

void HeldRows::pushInOrder(RowSink& sink, RowPlace& place) {
  for (std::size_t i = 0; i < kPolicyTables; ++i) {
    const auto table = static_cast<PolicyTable>(i);
    sort(table);
    place.file = m_files[i];
    for (const Entry& entry : m_entries[i]) {
      unpack(table, entry, place);
      m_row.deliver(table, sink);
    }
  }
}

}  // namespace zrhost
