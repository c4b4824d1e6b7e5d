#include "host/policyfile/csv_stream_internal.h"

#include <algorithm>
#include <limits>
#include <strings.h>
#include <utility>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"
#include "host/policyfile/base64_text_internal.h"
#include "policy/ZrEntityType.h"

namespace zrhost {
namespace {

constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

std::string base64Column(const PolicyColumn& column) {
  return column.name + std::string(kBase64Suffix);
}

// The number of the entity type of that name, in any case.
std::optional<std::int64_t> entityTypeNumber(const std::string& name) {
  const auto* found = std::find_if(std::begin(g_rule_entity), std::end(g_rule_entity),
                                   [&](const char* known) { return strcasecmp(known, name.c_str()) == 0; });
  if (found == std::end(g_rule_entity)) return std::nullopt;
  return found - std::begin(g_rule_entity);
}

// What a text may be only in Base64.
void checkText(const PolicyColumn& column, std::string_view text) {
  const bool hasZero = text.find('\0') != std::string_view::npos;
  if (!hasZero && isUtf8(text)) return;
  throw LineFault{0, std::string(column.name) + " holds " + (hasZero ? "a zero byte" : "bytes that are no UTF-8") +
                         "; such a text belongs in " + base64Column(column) + ", in Base64"};
}

bool isKnown(const PolicyTableFormat& table, const std::string& name) {
  return name == kReasonColumn ||
         std::any_of(table.columns.begin(), table.columns.end(), [&](const PolicyColumn& known) {
           return name == known.name || (!known.isNumber && name == base64Column(known));
         });
}

}  // namespace

CsvStream::CsvStream(std::unique_ptr<LineReader> lines, std::optional<PolicyTable> expected)
    : m_records(std::move(lines)) {
  m_records.useCurrentLine();
  readHeader(expected);
  m_sources = sourcesOf(*m_table);
}

void CsvStream::readHeader(std::optional<PolicyTable> expected) {
  try {
    if (!m_records.next()) failAt(m_records.lines().place(), "empty: not even a header line");
  } catch (const LineFault& fault) {
    failAt(m_records.place(), "no policy file: neither JSON Lines nor CSV: " + fault.reason);
  }
  for (const std::string_view name : m_records.fields())
    m_header.emplace_back(name);
  m_table = &likeliestTable(expected);
  const std::string fault = headerFault(*m_table);
  if (fault.empty()) return;
  if (expected)
    failAt(m_records.place(), "the header line is not that of " + std::string(m_table->csvFile) + ": " + fault);
  failAt(m_records.place(),
         "no policy file: its first line is neither {\"zrpolicy\":1} nor the header line of a table as CSV; for " +
             std::string(m_table->csvFile) + ", " + fault);
}

// The table that has the most columns in common with the header; links when it has none.
const PolicyTableFormat& CsvStream::likeliestTable(std::optional<PolicyTable> expected) const {
  const PolicyTableFormat* likeliest = &formatOf(expected.value_or(PolicyTable::kLink));
  for (std::size_t i = 0; i < kPolicyTables && !expected; ++i) {
    const PolicyTableFormat& table = formatOf(static_cast<PolicyTable>(i));
    if (commonColumns(table) > commonColumns(*likeliest)) likeliest = &table;
  }
  return *likeliest;
}

std::ptrdiff_t CsvStream::commonColumns(const PolicyTableFormat& table) const {
  return std::count_if(m_header.begin(), m_header.end(), [&](const std::string& name) { return isKnown(table, name); });
}

// What keeps the header from being that of the table; empty when nothing does.
std::string CsvStream::headerFault(const PolicyTableFormat& table) const {
  if (m_header.size() == 1 && m_header[0].find(';') != std::string::npos) return "semicolons must be commas";
  for (const std::string& name : m_header) {
    if (!isKnown(table, name)) return "unknown column '" + shortened(name) + "'";
    if (std::count(m_header.begin(), m_header.end(), name) > 1) return "column " + name + " stands twice";
  }
  for (const PolicyColumn& column : table.columns) {
    const bool isThere = placeOfColumn(column.name) != kNowhere;
    const bool isBase64There = !column.isNumber && placeOfColumn(base64Column(column)) != kNowhere;
    if (!isThere && !isBase64There && !column.mayBeAbsent) return std::string("column ") + column.name + " is missing";
  }
  return {};
}

std::size_t CsvStream::placeOfColumn(const std::string& name) const {
  const auto found = std::find(m_header.begin(), m_header.end(), name);
  return found == m_header.end() ? kNowhere : static_cast<std::size_t>(found - m_header.begin());
}

std::vector<CsvStream::Source> CsvStream::sourcesOf(const PolicyTableFormat& table) const {
  std::vector<Source> sources;
  for (const PolicyColumn& column : table.columns) {
    sources.push_back({placeOfColumn(column.name), column.isNumber ? kNowhere : placeOfColumn(base64Column(column))});
  }
  return sources;
}

std::optional<PolicyTable> CsvStream::next(RowBuffer& rows) {
  try {
    if (!m_records.next()) return std::nullopt;
    checkRecord();
    const auto fields = rows.fields(m_table->table);
    for (std::size_t i = 0; i < m_sources.size(); ++i)
      takeField(m_table->columns[i], m_sources[i], *fields[i]);
  } catch (LineFault& fault) {
    fault.table = m_table->table;
    throw;
  }
  return m_table->table;
}

void CsvStream::checkRecord() const {
  const std::size_t fields = m_records.fields().size();
  if (fields != m_header.size()) {
    throw LineFault{0,
                    std::to_string(fields) + " fields, where the header line has " + std::to_string(m_header.size())};
  }
}

void CsvStream::takeField(const PolicyColumn& column, const Source& source, Field& field) const {
  if (!column.isNumber) return takeText(column, source, field);
  if (source.plain == kNowhere) return field.reset();
  takeNumber(column, m_records.fields()[source.plain], field);
}

// What is no whole number stays as it is, to be judged later; an ID that may be absent is so where nothing stands.
void CsvStream::takeNumber(const PolicyColumn& column, std::string_view text, Field& field) const {
  if (text.empty() && column.mayBeAbsent) return field.reset();
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  if (const auto number = strictNumber(text, -most, most)) return assign(field, *number);
  assign(field, text);
  if (std::string_view(column.name) != "entity_type") return;
  if (const auto number = entityTypeNumber(*field)) assign(field, *number);
}

void CsvStream::takeText(const PolicyColumn& column, const Source& source, Field& field) const {
  const auto fields = m_records.fields();
  const std::string_view plain = source.plain == kNowhere ? std::string_view() : fields[source.plain];
  const std::string_view base64 = source.base64 == kNowhere ? std::string_view() : fields[source.base64];
  if (base64.empty()) {
    checkText(column, plain);
    return assign(field, plain);
  }
  if (!plain.empty())
    throw LineFault{0, std::string(column.name) + " and " + base64Column(column) + " both hold a text"};
  field = fromBase64(base64);
  if (!field) throw LineFault{0, base64Column(column) + " is no Base64"};
}

std::vector<std::string> CsvStream::recordFields() const {
  return {m_records.fields().begin(), m_records.fields().end()};
}

}  // namespace zrhost
