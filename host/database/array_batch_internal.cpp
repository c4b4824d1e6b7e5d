#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "host/database/bound_statement_internal.h"
#include "host/database/row_batch_internal.h"

namespace zrhost {
namespace {

constexpr std::size_t kMostRows = 4000;
constexpr std::size_t kMostBytes = 1 << 20;

// An element of an array as text: in double quotes, so that only these and backslashes mean something else.
void appendQuoted(std::string& array, const std::string& text) {
  array += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') array += '\\';
    array += c;
  }
  array += '"';
}

// The bytes that a server names in its messages, as in "byte sequence 0xe2 0x82 0xac", whatever their language.
std::string bytesIn(const std::string& message) {
  std::string bytes;
  for (std::size_t at = 0; (at = message.find("0x", at)) != std::string::npos; at += 2)
    bytes += static_cast<char>(std::strtol(message.substr(at + 2, 2).c_str(), nullptr, 16));
  return bytes;
}

// The index of the first element of a text array that holds `bytes`.
std::optional<std::size_t> elementWith(const std::string& array, const std::string& bytes) {
  const std::size_t end = bytes.empty() ? std::string::npos : array.find(bytes);
  if (end == std::string::npos) return std::nullopt;
  std::size_t elements = 0;
  bool quoted = false;
  for (std::size_t at = 0; at < end; ++at) {
    if (array[at] == '\\') {
      ++at;
    } else if (array[at] == '"') {
      quoted = !quoted;
    } else if (array[at] == ',' && !quoted) {
      ++elements;
    }
  }
  return elements;
}

class ArrayBatch : public RowBatch {
 public:
  ArrayBatch(Session& session, const StagedTable& table)
      : m_session(session), m_table(table), m_arrays(table.columns.size() + 1) {}

  void add(std::uint64_t number, std::span<const Field* const> values) override {
    for (std::string& array : m_arrays)
      array += m_rows == 0 ? '{' : ',';
    m_numbers.push_back(number);
    m_arrays[0] += std::to_string(number);
    for (std::size_t column = 0; column < values.size(); ++column) {
      std::string& array = m_arrays[column + 1];
      m_table.columns[column].isNumber ? void(array += **values[column]) : appendQuoted(array, **values[column]);
      m_bytes += values[column]->value().size();
    }
    if (++m_rows == kMostRows || m_bytes >= kMostBytes) send();
  }

  void send() override {
    if (m_rows == 0) return;
    if (!m_statement) m_statement.emplace(m_session, m_table.statement, "?", m_arrays.size());
    for (std::size_t column = 0; column < m_arrays.size(); ++column)
      m_statement->bindBytes(column, m_arrays[column] += '}');
    try {
      m_statement->execute();
    } catch (const HostError& error) {
      if (error.kind() == ErrorKind::kBadRow) nameRow(error);
      throw;
    }
    m_numbers.clear();
    for (std::string& array : m_arrays)
      array.capacity() > 2 * kMostBytes ? void(array = std::string()) : array.clear();
    m_rows = m_bytes = 0;
  }

 private:
  // A server says which character its encoding does not have, and not in which of the rows.
  void nameRow(const HostError& error) const {
    const std::string bytes = bytesIn(error.what());
    for (const std::string& array : m_arrays) {
      if (const auto element = elementWith(array, bytes)) {
        throw HostError(error.kind(), "row " + std::to_string(m_numbers[*element]) + ": " + error.what());
      }
    }
  }

  Session& m_session;
  const StagedTable m_table;
  std::vector<std::uint64_t> m_numbers;
  std::vector<std::string> m_arrays;  // the row's numbers, then the columns
  std::size_t m_rows = 0, m_bytes = 0;
  std::optional<BoundStatement> m_statement;
};

}  // namespace

std::unique_ptr<RowBatch> makeArrayBatch(Session& session, const StagedTable& table) {
  return std::make_unique<ArrayBatch>(session, table);
}

}  // namespace zrhost
